# Makes the linker's version script from a list of exported functions, one per line:
#   C    NAME
#   C++  DEMANGLED SIGNATURE      (standard types are written short; the linker wants them long)
function(nuv_long_type_names signature result)
  string(REGEX REPLACE "std::vector<([A-Za-z_]+)>" "std::vector<\\1, std::allocator<\\1> >" name "${signature}")
  string(REPLACE "std::map<std::string, std::string>"
    "std::map<std::string, std::string, std::less<std::string >, std::allocator<std::pair<std::string const, std::string > > >"
    name "${name}")
  string(REPLACE "std::string"
    "std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >" name "${name}")
  set(${result} "${name}" PARENT_SCOPE)
endfunction()

function(nuv_version_script list output)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${list})
  file(STRINGS ${list} lines REGEX "^C(\\+\\+)? ")
  set(c_names "")
  set(cxx_names "")
  foreach(line IN LISTS lines)
    if(line MATCHES "^C\\+\\+ +(.+)$")
      nuv_long_type_names("${CMAKE_MATCH_1}" name)
      string(APPEND cxx_names "      \"${name}\";\n")
    elseif(line MATCHES "^C +([A-Za-z_0-9]+)$")
      string(APPEND c_names "    ${CMAKE_MATCH_1};\n")
    else()
      message(FATAL_ERROR "${list}: not an export: ${line}")
    endif()
  endforeach()
  file(CONFIGURE OUTPUT ${output} @ONLY CONTENT
    "{\n  global:\n@c_names@    extern \"C++\" {\n@cxx_names@    };\n  local:\n    *;\n};\n")
endfunction()
