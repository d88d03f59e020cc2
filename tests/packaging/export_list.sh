# The list of exported functions, and symbols in the form that it has. To be sourced.

normal_form() {
  sed -E -e 's/std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >/std::string/g' \
    -e 's/std::vector<(\w+), std::allocator<\1> >/std::vector<\1>/g' \
    -e 's/std::map<std::string, std::string, std::less<std::string >, std::allocator<[^()]* > >/std::map<std::string, std::string>/' |
    sort
}

# listed LIST: its functions.
listed() {
  sed -n -E -e 's/^C +([A-Za-z0-9_]+)$/C \1/p' -e 's/^C\+\+ +(.*)$/C++ \1/p' "$1" | normal_form
}

# Symbols from standard input, one a line, as the list has them.
as_listed() {
  sed -e 's/^\(_Z.*\)/C++ \1/' -e '/^C++ /!s/^/C /' | c++filt | normal_form
}

failed=0
complain() {
  [ -z "$2" ] || { printf '%s:\n%s\n' "$1" "$2"; failed=1; }
}
