# The bus and front-end contract over real sockets and processes. Included by tests/CMakeLists.txt.
include(GoogleTest)
file(GLOB bus_sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/bus_*_test.cpp)
add_executable(contract_bus_faults ${bus_sources} ${CMAKE_CURRENT_LIST_DIR}/bus_world.cpp ${CMAKE_CURRENT_LIST_DIR}/model_world.cpp
  ${CMAKE_CURRENT_SOURCE_DIR}/support/refused_calls.cpp)
target_include_directories(contract_bus_faults PRIVATE ${CMAKE_CURRENT_LIST_DIR} ${CMAKE_CURRENT_SOURCE_DIR}/support)
target_link_libraries(contract_bus_faults PRIVATE house vcfg_store vcfg_client GTest::gtest_main)
target_compile_definitions(contract_bus_faults PRIVATE VCFGCTL_PATH="$<TARGET_FILE:vcfgctl>")
add_dependencies(contract_bus_faults vcfgctl)
foreach(function malloc calloc realloc _Znwm) # bus_allocations_test.cpp counts them
  target_link_options(contract_bus_faults PRIVATE -Wl,--wrap=${function})
endforeach()
gtest_discover_tests(contract_bus_faults PROPERTIES LABELS contract TIMEOUT 300)

# The example of docs/bus.md, taken out of the text, built and run.
if(NOT TARN_SANITIZE)
  add_dependencies(contract_bus_faults vcfg)
  add_test(NAME contract_bus_faults.ExampleDaemonOfTheDocumentationWorks
    COMMAND ${CMAKE_CURRENT_LIST_DIR}/bus_example.sh ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR} ${CMAKE_C_COMPILER})
  set_tests_properties(contract_bus_faults.ExampleDaemonOfTheDocumentationWorks PROPERTIES LABELS contract TIMEOUT 300)
  add_test(NAME contract_bus_faults.ProgramOfAnotherModelIsRefusedAtItsFirstCall
    COMMAND ${CMAKE_CURRENT_LIST_DIR}/model_mismatch.sh ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR} ${CMAKE_C_COMPILER})
  set_tests_properties(contract_bus_faults.ProgramOfAnotherModelIsRefusedAtItsFirstCall PROPERTIES LABELS contract TIMEOUT 300)
  add_dependencies(contract_bus_faults vcmd)
  add_test(NAME contract_bus_faults.LoopDaemonOfTheDocumentationWorksWithWhatIsInstalled
    COMMAND ${CMAKE_CURRENT_LIST_DIR}/loop_example.sh ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR} ${CMAKE_C_COMPILER})
  set_tests_properties(contract_bus_faults.LoopDaemonOfTheDocumentationWorksWithWhatIsInstalled PROPERTIES LABELS contract TIMEOUT 300)
  add_test(NAME contract_bus_faults.ExampleOfSeveralChangesMakesThem
    COMMAND ${CMAKE_CURRENT_LIST_DIR}/change_example.sh ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR} ${CMAKE_C_COMPILER})
  set_tests_properties(contract_bus_faults.ExampleOfSeveralChangesMakesThem PROPERTIES LABELS contract TIMEOUT 300)
  # And that of docs/datamodel.md.
  add_dependencies(contract_bus_faults vcfgctl)
  add_test(NAME contract_bus_faults.ExampleOfTheSchemaListsWhatVcfgctlLists
    COMMAND ${CMAKE_CURRENT_LIST_DIR}/schema_example.sh ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR} ${CMAKE_C_COMPILER})
  set_tests_properties(contract_bus_faults.ExampleOfTheSchemaListsWhatVcfgctlLists PROPERTIES LABELS contract TIMEOUT 300)
endif()
