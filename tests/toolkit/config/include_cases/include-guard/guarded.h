#ifndef GUARD
#define GUARD
class Once {};
#endif
