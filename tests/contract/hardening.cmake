# What ships, as files. Sanitizers link it in their own way, and a debug build is not optimised. Included by tests/CMakeLists.txt.
if(NOT TARN_SANITIZE AND NOT CMAKE_BUILD_TYPE STREQUAL Debug)
  get_property(of_the_port GLOBAL PROPERTY port_programs)
  get_property(of_the_gateway GLOBAL PROPERTY gateway_programs)
  get_property(of_the_platform GLOBAL PROPERTY platform_programs)
  set(shipped tarn vcmd vcfgctl vcfg-mail vcfg ${of_the_port} ${of_the_gateway} ${of_the_platform})
  list(TRANSFORM shipped REPLACE "(.+)" "$<TARGET_FILE:\\1>\n" OUTPUT_VARIABLE files)
  list(JOIN files "" files)
  file(GENERATE OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/shipped_files CONTENT "${files}")
  add_test(NAME hardening COMMAND /usr/bin/python3 -m pytest -q -p no:cacheprovider ${CMAKE_CURRENT_LIST_DIR}/hardening_test.py)
  set_tests_properties(hardening PROPERTIES LABELS contract TIMEOUT 300
    ENVIRONMENT "SHIPPED_FILES=${CMAKE_CURRENT_BINARY_DIR}/shipped_files;PYTHONDONTWRITEBYTECODE=1")
endif()
