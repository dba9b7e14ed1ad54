#include "b.h"
#include "sub\x.h"
class Here : IncB { z = JOIN(a, 1); };
