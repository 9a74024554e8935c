# One number for the model: that of its lines without their comments and blanks. Programs carry it from <vcfg/rdm.h>, and
# the library refuses those that carry another.
file(GLOB definitions CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/*.def)
list(SORT definitions)
set(lines "")
foreach(definition ${definitions})
  file(STRINGS ${definition} content REGEX "RDM_")
  string(REGEX REPLACE "[ \t]+" "" content "${content}")
  string(APPEND lines "${content}\n")
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${definition})
endforeach()
string(SHA256 number "${lines}")
string(SUBSTRING ${number} 0 16 number)
file(CONFIGURE OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/include/vcfg/model_id.h CONTENT [[
/* Made from vcfg/model by the build. */
#ifndef VCFG_MODEL_ID
#define VCFG_MODEL_ID UINT64_C(0x@number@)
#endif
]] @ONLY)
