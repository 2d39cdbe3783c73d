# Whether the objects of a vector target define nothing that another target could define too: every symbol that the
# linker may merge or resolve across objects must lie in the namespace named by the target. A function of the standard
# library among them would be taken from any target, and end in an illegal instruction on processors without it.
string(LENGTH ${TARGET} length)
set(found 0)
foreach(object ${OBJECTS})
  execute_process(COMMAND ${NM} --defined-only --extern-only --format=posix ${object} OUTPUT_VARIABLE symbols
    COMMAND_ERROR_IS_FATAL ANY)
  # The fused operations that a compiler makes of complex products although contraction is off (product() in numbers.h).
  execute_process(COMMAND ${OBJDUMP} -d --no-show-raw-insn ${object} OUTPUT_VARIABLE code COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX MATCH "vfm(addsub|subadd)[0-9a-z]*" fused "${code}")
  if(fused)
    message(SEND_ERROR "${object} uses ${fused}: its results differ from those of other targets")
  endif()
  string(REGEX MATCHALL "[^\n]+" lines "${symbols}")
  foreach(line ${lines})
    math(EXPR found "${found} + 1")
    if(NOT line MATCHES "^_Z[A-Z]*K?N?K?7zenthar${length}${TARGET}")
      # Marks of the address sanitizer and references to the personality routine are shared on purpose.
      if(NOT line MATCHES "^(__odr_asan[._]|DW\\.ref\\.)")
        message(SEND_ERROR "${object} defines ${line}, which is outside zenthar::${TARGET}")
      endif()
    endif()
  endforeach()
endforeach()
if(found LESS 10)
  message(FATAL_ERROR "only ${found} symbols found: the objects are not those of the kernels")
endif()
