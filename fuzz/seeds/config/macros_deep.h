#define X0 1
#define X1 X0 X0
#define X2 X1 X1
#define X3 X2 X2
#define X4 X3 X3
#define G(a) G(a) a
v[] = {X4, G(G(1))};
#define S(x) #x
str = S("q" 1);
