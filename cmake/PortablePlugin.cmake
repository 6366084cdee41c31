# vesk_portable_plugin(TARGET): a plug-in module that loads into hosts on glibc 2.28 and later.
# Calls of the maths functions whose default symbol version is newer are sent to the older
# versions (OldGlibcSymbols.c), and the module is linked with nothing the host process does not
# already supply: the C++ runtime stays shared (a static one needs much newer glibc symbols).
# tests/binary_check.sh checks the result.
set(VESK_OLD_GLIBC_SYMBOLS ${CMAKE_CURRENT_LIST_DIR}/OldGlibcSymbols.c)
set(VESK_WRAPPED_MATHS exp exp2 log log2 pow)

function(vesk_portable_plugin target)
  target_sources(${target} PRIVATE ${VESK_OLD_GLIBC_SYMBOLS})
  set(wraps)
  foreach(name IN LISTS VESK_WRAPPED_MATHS)
    list(APPEND wraps "LINKER:--wrap=${name}")
  endforeach()
  target_link_options(${target} PRIVATE ${wraps} "LINKER:--as-needed")
endfunction()
