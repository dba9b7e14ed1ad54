#ifndef X
#include "folder.h"
#endif
