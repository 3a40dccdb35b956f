# mervane_type_library(NAME TARGET): compiles NAME.idl of the current folder
# into generated/NAME.h, NAME_i.c (the ids) and NAME.tlb (embedded by the
# DLL's .rc), behind a custom target TARGET.
function(mervane_type_library name target)
  set(gen ${CMAKE_BINARY_DIR}/generated)
  file(MAKE_DIRECTORY ${gen})
  add_custom_command(
    OUTPUT ${gen}/${name}.h ${gen}/${name}_i.c ${gen}/${name}.tlb
    COMMAND ${WIDL} ${WIDL_FLAGS} -I/usr/include/wine/wine/windows -L ${WINE_DLL_DIR}
            -h -H ${gen}/${name}.h -u -U ${gen}/${name}_i.c -t -T ${gen}/${name}.tlb
            ${CMAKE_CURRENT_SOURCE_DIR}/${name}.idl
    DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${name}.idl
    COMMENT "Compiling the ${name} type library")
  add_custom_target(${target} DEPENDS ${gen}/${name}.h ${gen}/${name}_i.c ${gen}/${name}.tlb)
endfunction()
