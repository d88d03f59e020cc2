// Part of a library that counts what is reached: for a child that ends by _exit, which writes no counters.
void __gcov_dump(void);
void nuv_dump_coverage(void);

void nuv_dump_coverage(void) {
  __gcov_dump();
}
