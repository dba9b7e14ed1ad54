#define FROM_A
#include "open.h"
