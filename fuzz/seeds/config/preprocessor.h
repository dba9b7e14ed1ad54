#define A 1
#define F(x, y) x##y #x
#define EMPTY
#ifdef A
value = F(a, b);
#else
value = 2;
#endif
#ifndef B
#undef A
#endif
/* block
 comment */ other = -0x10;
long = 1 \
 + 2;
#define LIST(...) {x}
nested[] = {{1,{2}},"s",};
