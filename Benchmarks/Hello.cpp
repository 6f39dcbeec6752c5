// The smallest process for comparison: statically linked, and C only.
#include <stdio.h>

int main() { puts("hello"); }
