#include "c1.h"
