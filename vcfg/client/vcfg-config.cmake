# find_package(vcfg) gives the target vcfg::vcfg: the headers and the library that are installed beside this file.
get_filename_component(vcfg_prefix "${CMAKE_CURRENT_LIST_DIR}/../../.." ABSOLUTE)
if(NOT TARGET vcfg::vcfg)
  add_library(vcfg::vcfg SHARED IMPORTED)
  set_target_properties(vcfg::vcfg PROPERTIES IMPORTED_LOCATION "${vcfg_prefix}/lib/libvcfg.so"
    INTERFACE_INCLUDE_DIRECTORIES "${vcfg_prefix}/include")
endif()
