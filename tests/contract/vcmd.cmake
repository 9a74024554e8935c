# Contract tests of vcmd and vcfgctl: the real programs, in directories of their own.
file(GLOB vcmd_test_sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/vcmd_*.cpp)
add_executable(vcmd_tests ${vcmd_test_sources})
target_compile_definitions(vcmd_tests PRIVATE VCMD_PATH="$<TARGET_FILE:vcmd>" VCFGCTL_PATH="$<TARGET_FILE:vcfgctl>")
target_link_libraries(vcmd_tests PRIVATE house vcfg_client vcfg_model PkgConfig::JSONC GTest::gtest_main)
add_dependencies(vcmd_tests vcmd vcfgctl)
gtest_discover_tests(vcmd_tests TEST_PREFIX vcmd. PROPERTIES LABELS contract TIMEOUT 300)

file(GLOB vcfgctl_tests CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/vcfgctl_*test.py)
foreach(test ${vcfgctl_tests})
  get_filename_component(name ${test} NAME_WE)
  string(REGEX REPLACE "_?test$" "" name ${name})
  add_test(NAME ${name} COMMAND /usr/bin/python3 -m pytest -q -p no:cacheprovider ${test})
  set_tests_properties(${name} PROPERTIES LABELS contract TIMEOUT 300
    ENVIRONMENT "VCMD=$<TARGET_FILE:vcmd>;VCFGCTL=$<TARGET_FILE:vcfgctl>;PYTHONDONTWRITEBYTECODE=1")
endforeach()
