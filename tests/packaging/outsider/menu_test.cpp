// menu_test EXPECTED: opens an application and compares what came of it.
#include "menu.h"

#include <iostream>

int main(int argc, char** argv) {
  const std::string expected = argc > 1 ? argv[1] : "opened";
  const std::chrono::seconds limit(expected == "no answer" ? 2 : 20);
  const std::string outcome = Open("org.kelvo.app.weather", limit);
  std::cout << outcome << "\n";
  return outcome == expected ? 0 : 1;
}
