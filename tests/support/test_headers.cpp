// A program, because the tests that use its precompiled headers are programs: a library would have other compiler
// options.
int main() {}
