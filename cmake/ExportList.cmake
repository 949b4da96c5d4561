# vq_export_list(target list)
#
# Links `target` with a version script made from `list`, a file of one exported name a line (# begins a
# comment). A name outside the list stays inside the library; a name of the list that nobody defines fails
# the link.
function(vq_export_list target list)
  file(STRINGS ${list} names REGEX "^[A-Za-z_]")
  list(JOIN names ";\n    " body)
  set(script ${CMAKE_CURRENT_BINARY_DIR}/${target}.map)
  file(CONFIGURE OUTPUT ${script} CONTENT "VQSTRING_2 {\n  global:\n    @body@;\n  local:\n    *;\n};\n" @ONLY)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${list})
  target_link_options(${target} PRIVATE -Wl,--version-script=${script})
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${script})
endfunction()
