// What every C++ program costs before it does anything.

#include <iostream>

int main() {}
