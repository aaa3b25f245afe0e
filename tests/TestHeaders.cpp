// Only for the headers that all tests share: see tests/CMakeLists.txt.
int main() {}
