#include "more.h"
#define RGB_RED 0x0000FF
