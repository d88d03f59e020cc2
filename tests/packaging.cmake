# What an integrator relies on: the exported functions, their contract, the way the libraries are linked, who includes
# whom, headers that compile alone, and an installation that works by itself.
set(packaging ${CMAKE_CURRENT_SOURCE_DIR}/packaging)

# nuv_add_script_test(NAME COMMAND...)
function(nuv_add_script_test name)
  add_test(NAME packaging.${name} COMMAND ${ARGN})
  set_tests_properties(packaging.${name} PROPERTIES TIMEOUT 120)
endfunction()

set(exports exact)
if(NUV_EXPORT_INTERNALS)
  set(exports subset)
endif()
nuv_add_script_test(LibraryExportsTheListedFunctions
  ${packaging}/check_exports $<TARGET_FILE:nuv_launcher_api> ${PROJECT_SOURCE_DIR}/src/libnuv_launcher_api.exports
  ${exports})

nuv_add_script_test(LayersAreKept ${packaging}/check_layers ${PROJECT_SOURCE_DIR})
nuv_add_script_test(LayerCheckFindsPlantedViolations ${packaging}/check_layers_finds)

set(compilers ${CMAKE_C_COMPILER} ${CMAKE_CXX_COMPILER})
nuv_add_script_test(InstalledHeadersCompileAlone
  ${packaging}/check_headers ${compilers} ${PROJECT_SOURCE_DIR}/include nuv)
nuv_add_script_test(InstalledHeadersDeclareTheListedFunctions
  ${packaging}/check_declarations ${compilers} ${PROJECT_SOURCE_DIR}/include nuv
  ${PROJECT_SOURCE_DIR}/src/libnuv_launcher_api.exports)
nuv_add_script_test(PlatformHeadersCompileAlone
  ${packaging}/check_headers ${compilers} ${PROJECT_SOURCE_DIR}/include_internal nuv_platform)

# What keeps ThreadSanitizer quiet about GLib must not keep it quiet about us.
if(NUV_SANITIZE MATCHES "thread")
  add_executable(planted_race packaging/planted_race.cpp)
  add_dependencies(nuv_thread_tests planted_race)
  target_link_libraries(planted_race PRIVATE PkgConfig::GIO nuv_build_flags)
  set_target_properties(planted_race PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
  nuv_add_script_test(ThreadSanitizerReportsAPlantedRace $<TARGET_FILE:planted_race>)
  set_tests_properties(packaging.ThreadSanitizerReportsAPlantedRace PROPERTIES
    ENVIRONMENT "${NUV_TEST_ENVIRONMENT}"
    PASS_REGULAR_EXPRESSION "WARNING: ThreadSanitizer: data race.*WriteInCallback")
endif()

# A sanitizer brings libraries and symbols of its own, and wants every program to be built with it.
if(NUV_SANITIZE)
  return()
endif()

# Documentation that tests hold. A sanitizer's build leaves some of them out.
nuv_add_script_test(ContractNamesItsTests ${packaging}/check_contract ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR})
nuv_add_script_test(ContractCheckFindsPlantedGaps ${packaging}/check_contract_finds)

set(base "lib(glib|gobject|gio)-2[.]0[.]so[.]0|lib(stdc[+][+]|gcc_s|m|c|pthread)[.]so[.][0-9]+|ld-linux.*")
nuv_add_script_test(LibraryIsLinkedAsPromised
  ${packaging}/check_library $<TARGET_FILE:nuv_launcher_api> libnuv_launcher_api.so.${PROJECT_VERSION_MAJOR}
  "${base}|libnuv_platform_host[.]so[.]1|libsqlite3[.]so[.]0")
nuv_add_script_test(PlatformLibraryIsLinkedAsPromised
  ${packaging}/check_library $<TARGET_FILE:nuv_platform_host> libnuv_platform_host.so.${PROJECT_VERSION_MAJOR} "${base}")
# What is not optimized has no checked calls.
if(NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
  nuv_add_script_test(LibrariesAndProgramsAreHardened
    ${packaging}/check_hardened $<TARGET_FILE:nuv_launcher_api> $<TARGET_FILE:nuv_platform_host>
    $<TARGET_FILE:nuv-simulator> $<TARGET_FILE:nuvctl>)
  if(NOT CMAKE_CROSSCOMPILING)
    nuv_add_script_test(InstalledBelowUsrEverythingIsHardenedAndFoundByTheLoader
      ${packaging}/check_installation ${CMAKE_COMMAND} ${PROJECT_BINARY_DIR} ${PROJECT_SOURCE_DIR} ${compilers}
      ${CMAKE_GENERATOR})
  endif()
endif()
nuv_add_script_test(ProgramsCanReplacePlatformCalls
  ${packaging}/check_interposition $<TARGET_FILE:nuv_launcher_api> $<TARGET_FILE:nuv_platform_host>)

if(NOT CMAKE_CROSSCOMPILING)
  nuv_add_script_test(OutsidersBuildAndLaunchWithTheInstallation
    ${packaging}/check_outsider ${CMAKE_COMMAND} ${PROJECT_BINARY_DIR} ${PROJECT_SOURCE_DIR} ${compilers}
    ${CMAKE_GENERATOR})
endif()

# The gates of .ci/run: each finds what is planted, where its tool is installed ("scripts/install-deps --ci").
function(nuv_add_gate_test name tool)
  find_program(NUV_GATE_TOOL_${tool} ${tool})
  if(NUV_GATE_TOOL_${tool} AND NOT CMAKE_CROSSCOMPILING)
    nuv_add_script_test(${name} ${ARGN} ${PROJECT_SOURCE_DIR})
  endif()
endfunction()
nuv_add_gate_test(EachGateOfCiEndsItWhereItFails bash ${packaging}/check_ci_finds)
nuv_add_gate_test(RunOfTestsFindsWhatDoesNotRun ctest ${packaging}/check_ctest_finds)
nuv_add_gate_test(EachRowOfTheBenchmarksHasALimit python3 ${packaging}/check_bench_finds)
nuv_add_gate_test(EachFuzzerIsRunWithItsDictionary bash ${packaging}/check_fuzz_finds)
nuv_add_gate_test(BuildsOfCiFindWarnings clang++ ${packaging}/check_warnings_find)
nuv_add_gate_test(AbiCheckFindsChangedRecords abidiff ${packaging}/check_abi_finds)
nuv_add_gate_test(FormatCheckFindsEachKindOfSource clang-format ${packaging}/check_format_finds)
nuv_add_gate_test(LintFindsPlantedFaults clang-tidy ${packaging}/check_lint_finds)
