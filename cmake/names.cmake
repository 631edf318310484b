# The name lists at build time: version scripts, pending bodies, the host's table of slots.

set(VRN_NAMES ${PROJECT_SOURCE_DIR}/frame/names.py)
set(VRN_EXPORTS ${PROJECT_SOURCE_DIR}/frame/exports.txt)
set(VRN_IMPORTS ${PROJECT_SOURCE_DIR}/frame/imports.txt)

# vrn_pending(<object library> <name list> <stem> [--used]) - bodies that print and abort, in <stem>.S, for all
# names of the list that no object of the library defines, and the list of them in <stem>.txt. With --used,
# <stem>_used.S names the imports that no kernel refers to yet, so that the contract is whole at link time.
function(vrn_pending objects list stem)
    add_custom_command(
        OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/${stem}.S ${CMAKE_CURRENT_BINARY_DIR}/${stem}.txt
        COMMAND ${Python3_EXECUTABLE} ${VRN_NAMES} pending --nm ${CMAKE_NM} --names ${list}
                --imports ${VRN_IMPORTS} --stem ${CMAKE_CURRENT_BINARY_DIR}/${stem} ${ARGN}
                $<TARGET_OBJECTS:${objects}>
        DEPENDS ${VRN_NAMES} ${list} ${VRN_IMPORTS} ${objects} $<TARGET_OBJECTS:${objects}>
        COMMAND_EXPAND_LISTS VERBATIM)
    set_source_files_properties(${CMAKE_CURRENT_BINARY_DIR}/${stem}.S PROPERTIES LANGUAGE ASM)
endfunction()

function(vrn_names_command output)
    add_custom_command(
        OUTPUT ${output}
        COMMAND ${Python3_EXECUTABLE} ${VRN_NAMES} ${ARGN} --output ${output}
        DEPENDS ${VRN_NAMES} ${VRN_EXPORTS} ${VRN_IMPORTS}
        VERBATIM)
endfunction()
