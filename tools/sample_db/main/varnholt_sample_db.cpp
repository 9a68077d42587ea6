// Placeholder entry; the generator replaces it.
int main() { return 2; }
