#include "self.h"
#include "c1.h"
#include "n0.h"
#include "open.h"
