# precompile(TARGET [LIKE OTHER] [HEADER...]): reads what most files of the house include once, and not once a file. A target
# with the options of another takes what that one has read.
# The ordinary builds see that each file includes what it uses; the cross builds and those with sanitizers are there to be
# quick.
function(precompile target)
  if(NOT TARN_PRECOMPILE)
    return()
  endif()
  cmake_parse_arguments(PARSE_ARGV 1 PRECOMPILE "" LIKE "")
  if(PRECOMPILE_LIKE)
    target_precompile_headers(${target} REUSE_FROM ${PRECOMPILE_LIKE})
  else()
    target_precompile_headers(${target} PRIVATE <algorithm> <atomic> <functional> <map> <memory> <mutex> <optional> <string>
      <string_view> <vector> <json.h> <vcfg/vcfg.h> ${PRECOMPILE_UNPARSED_ARGUMENTS})
  endif()
endfunction()
