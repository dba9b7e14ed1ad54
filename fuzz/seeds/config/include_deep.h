#include "n0.h"
