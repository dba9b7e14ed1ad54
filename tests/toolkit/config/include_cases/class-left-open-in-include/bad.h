class A {
