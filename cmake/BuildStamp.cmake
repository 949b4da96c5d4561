# vq_build_stamp(target file)
#
# Gives `file` of `target` the build-time values of the version stamp. SOURCE_DATE_EPOCH makes them
# reproducible.
function(vq_build_stamp target file)
  if(DEFINED ENV{SOURCE_DATE_EPOCH})
    set(seconds $ENV{SOURCE_DATE_EPOCH})
  else()
    string(TIMESTAMP seconds %s UTC)
  endif()
  set(ENV{SOURCE_DATE_EPOCH} ${seconds})
  string(TIMESTAMP date "%a %b %d %H:%M:%S UTC %Y" UTC)
  set_source_files_properties(${file} TARGET_DIRECTORY ${target} PROPERTIES COMPILE_DEFINITIONS
    "VQSTRING_RELEASE=\"${PROJECT_VERSION}\";VQSTRING_BUILD_TIME=${seconds};VQSTRING_BUILD_DATE=\"${date}\"")
endfunction()
