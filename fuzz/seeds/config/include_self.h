a = 1;
#include "self.h"
