# The daemon's own grip on the real system: log collectors, files, memory; and the daemon itself against strangers on its
# bus. Included by tests/CMakeLists.txt.
file(GLOB daemon_test_sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/daemon_*_test.cpp)
add_executable(contract_daemon ${daemon_test_sources})
target_link_libraries(contract_daemon PRIVATE house tarn_mgmt tarn_core tarn_os vcfg_client GTest::gtest_main)
gtest_discover_tests(contract_daemon PROPERTIES LABELS contract TIMEOUT 120)

add_test(NAME daemon_rights COMMAND /usr/bin/python3 -m pytest -q -p no:cacheprovider ${CMAKE_CURRENT_LIST_DIR}/daemon_rights_test.py)
set_tests_properties(daemon_rights PROPERTIES LABELS contract TIMEOUT 120
  ENVIRONMENT "TARN=$<TARGET_FILE:tarn>;VCFGCTL=$<TARGET_FILE:vcfgctl>;PYTHONDONTWRITEBYTECODE=1")
