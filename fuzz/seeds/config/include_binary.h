#include "binary.h"
