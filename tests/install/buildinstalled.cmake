# Installs the library into a fresh prefix and builds, apart from this tree, what a module
# author and a host author would: the sample module alone, then the minimal host alone, both
# with find_package(zornx). Runs the host. Called by ctest (test install_and_build) with
#   -DBUILD_DIR -DSOURCE_DIR -DWORK -DGENERATOR -DBUILD_TYPE -DLAUNCHER -DFLAGS

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE out
                    ERROR_VARIABLE err)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "Failed (${result}): ${ARGN}\n${out}\n${err}")
    endif()
    set(output "${out}${err}" PARENT_SCOPE)
endfunction()

set(prefix ${WORK}/prefix)
file(REMOVE_RECURSE ${prefix})
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})

# Every header that an installed header includes is installed too, and none is private.
file(GLOB_RECURSE headers ${prefix}/include/*.h)
foreach(header ${headers})
    file(STRINGS ${header} includes REGEX "^#include [<\"]zornx")
    foreach(line ${includes})
        string(REGEX REPLACE "^#include [<\"]([^>\"]+)[>\"].*" "\\1" included "${line}")
        if(included MATCHES "_p\\.h$" OR NOT EXISTS ${prefix}/include/${included})
            message(FATAL_ERROR "${header} includes ${included}, which is not a public header")
        endif()
    endforeach()
endforeach()

set(configure -G ${GENERATOR} -DCMAKE_BUILD_TYPE=${BUILD_TYPE} -DCMAKE_PREFIX_PATH=${prefix}
    "-DCMAKE_CXX_FLAGS=${FLAGS}" "-DCMAKE_EXE_LINKER_FLAGS=${FLAGS}")
if(LAUNCHER)
    list(APPEND configure -DCMAKE_CXX_COMPILER_LAUNCHER=${LAUNCHER})
endif()

# The module, as a module author builds it.
run(${CMAKE_COMMAND} -S ${SOURCE_DIR}/modules/sample -B ${WORK}/sample ${configure})
run(${CMAKE_COMMAND} --build ${WORK}/sample)

# The host, with the installed sample module (zornx::sample) and plug-ins.
run(${CMAKE_COMMAND} -S ${SOURCE_DIR}/examples/minimal-host -B ${WORK}/host ${configure})
string(FIND "${output}" "zornx extensions: ${prefix}/" at)
if(at LESS 0)
    message(FATAL_ERROR "zornx_EXTENSIONS_DIR is not the installed directory:\n${output}")
endif()
run(${CMAKE_COMMAND} --build ${WORK}/host)
run(${CMAKE_COMMAND} -E env QT_QPA_PLATFORM=offscreen ${WORK}/host/minimal-host)
foreach(expected "Extensions: 1 archive format" "(a game)" "Backup:")
    string(FIND "${output}" "${expected}" at)
    if(at LESS 0)
        message(FATAL_ERROR "The installed host did not print \"${expected}\":\n${output}")
    endif()
endforeach()
