# The names of the endpoints and the message types, out of the headers that number them.
set(headers ${PROJECT_SOURCE_DIR}/vcfg/include/vcfg)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${headers}/msg.h ${headers}/msg_types.h)

function(write_names header prefix output)
  file(STRINGS ${headers}/${header} lines REGEX "^ *(#define )?${prefix}[A-Z0-9_]+ (= )?[0-9]")
  set(table "")
  foreach(line ${lines})
    string(REGEX MATCH "${prefix}[A-Z0-9_]+" name "${line}")
    string(APPEND table "{${name}, \"${name}\"},\n")
  endforeach()
  file(CONFIGURE OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/${output} CONTENT "${table}" @ONLY)
endfunction()

write_names(msg.h VCFG_EID_ endpoint_names.inc)
write_names(msg_types.h VCFG_MSG_ type_names.inc)
target_include_directories(vcfgctl PRIVATE ${CMAKE_CURRENT_BINARY_DIR})
