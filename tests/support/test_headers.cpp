// A program, as those that share its headers are: a library of theirs would be compiled in another way.
int main() {}
