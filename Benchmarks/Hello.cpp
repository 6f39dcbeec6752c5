// The least that a process does, statically linked: nothing of C++ gets into it.
#include <stdio.h>

int main() { puts("hello"); }
