# The daemon's own process on a real bus. Included by tests/CMakeLists.txt.
add_executable(tarn_with_faults ${PROJECT_SOURCE_DIR}/tarn/main.cpp ${CMAKE_CURRENT_LIST_DIR}/daemon_faults.cpp)
target_compile_definitions(tarn_with_faults PRIVATE TARN_VERSION="${PROJECT_VERSION}")
target_link_libraries(tarn_with_faults PRIVATE house tarn_dispatch tarn_os vcfg)
foreach(call socket bind system popen pclose sched_setscheduler pthread_create vcfg_msg_eidInit vcfg_msg_serverInit)
  target_link_options(tarn_with_faults PRIVATE -Wl,--wrap=${call})
endforeach()

file(GLOB daemon_sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/daemon_*_test.cpp)
add_executable(daemon_tests ${daemon_sources} ${CMAKE_CURRENT_LIST_DIR}/daemon_world.cpp ${CMAKE_CURRENT_LIST_DIR}/vcmd_kit.cpp)
target_compile_definitions(daemon_tests PRIVATE TARN_PATH="$<TARGET_FILE:tarn_with_faults>"
  VCMD_PATH="$<TARGET_FILE:vcmd>" VCFGCTL_PATH="$<TARGET_FILE:vcfgctl>")
target_link_libraries(daemon_tests PRIVATE house tarn_os GTest::gtest_main
  $<LINK_GROUP:RESCAN,tarn_link,tarn_connection,tarn_platform,tarn_core,vcfg_client,vcfg_reader,vcfg_model>)
add_dependencies(daemon_tests tarn_with_faults vcmd)
# One at a time: the daemon's socket for its timer has one address on the whole machine.
gtest_discover_tests(daemon_tests TEST_PREFIX daemon. PROPERTIES LABELS contract TIMEOUT 240 RESOURCE_LOCK daemon)

add_test(NAME daemon_rights COMMAND /usr/bin/python3 -m pytest -q -p no:cacheprovider ${CMAKE_CURRENT_LIST_DIR}/daemon_rights_test.py)
set_tests_properties(daemon_rights PROPERTIES LABELS contract TIMEOUT 120
  ENVIRONMENT "TARN=$<TARGET_FILE:tarn>;VCFGCTL=$<TARGET_FILE:vcfgctl>;PYTHONDONTWRITEBYTECODE=1")
