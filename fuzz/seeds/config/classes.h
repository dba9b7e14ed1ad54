class A;
class B { class C { d = 1; }; e[] = {1}; e[] += {2}; };
class D : B { class C : C {}; };
delete A;
class A { x = 1.5e3; y = ""; };
