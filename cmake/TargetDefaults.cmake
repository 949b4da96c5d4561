# What every target of ours is compiled with.
#
# vq_target_defaults(target)       warnings as errors, hidden visibility, the chosen sanitizers
# vq_library_code(target)          adds what holds inside the library alone: no exceptions, no RTTI and no
#                                  C++ runtime, since the library needs libc and nothing else

# For code that uses std::string: GCC 12 takes the inlined front of its operator+ for an overlapping copy (its
# bug 105651).
set(vq_string_false_alarms
  $<$<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>>:-Wno-restrict>)

function(vq_target_defaults target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wundef -Werror
    -fvisibility=hidden $<$<COMPILE_LANGUAGE:CXX>:-fvisibility-inlines-hidden>)
  if(VQ_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${VQ_SANITIZE} -fno-sanitize-recover=all
      -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=${VQ_SANITIZE})
  endif()
endfunction()

function(vq_library_code target)
  vq_target_defaults(${target})
  target_compile_options(${target} PRIVATE
    $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fno-threadsafe-statics>)
endfunction()
