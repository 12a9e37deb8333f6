// Holds what every test includes first, precompiled; see cmake/QuelModule.cmake.
int main() {}
