#include <iostream>

int main() { std::cout << "Ready.\n"; }
