# vesk_portable_binary(TARGET): a plug-in module that loads into hosts on glibc 2.28 with the C++
# runtime of GCC 6 and later. Calls of the maths functions whose default symbol version is newer
# are sent to the older versions (OldGlibcSymbols.c); two symbols newer C++ headers refer to are
# defined in the module itself (OldCxxRuntimeSymbols.cpp); and the module is linked with nothing
# the host process does not already supply: the C++ runtime stays shared (a static one needs much
# newer glibc symbols).
# tests/binary/check_plugin_binary.sh checks the result.
set(VESK_OLD_GLIBC_SYMBOLS ${CMAKE_CURRENT_LIST_DIR}/OldGlibcSymbols.c
  ${CMAKE_CURRENT_LIST_DIR}/OldCxxRuntimeSymbols.cpp)
set(VESK_WRAPPED_MATHS exp exp2 log log2 pow)

function(vesk_portable_binary target)
  target_sources(${target} PRIVATE ${VESK_OLD_GLIBC_SYMBOLS})
  set(wraps)
  foreach(name IN LISTS VESK_WRAPPED_MATHS)
    list(APPEND wraps "LINKER:--wrap=${name}")
  endforeach()
  target_link_options(${target} PRIVATE ${wraps} "LINKER:--as-needed")
endfunction()
