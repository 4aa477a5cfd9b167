# zornx_add_test(NAME <name> SOURCES <files...> [LIBS <targets...>] [LABELS <labels...>])
#
# One QtTest program per call. Widgets run on the offscreen platform; tests labelled "gl"
# run under xvfb-run instead, since the offscreen platform has no OpenGL, and so do those
# labelled "gui", which drive whole windows as a person would.
function(zornx_add_test)
    cmake_parse_arguments(T "" "NAME" "SOURCES;LIBS;LABELS" ${ARGN})
    add_executable(${T_NAME} ${T_SOURCES})
    target_link_libraries(${T_NAME} PRIVATE zornx zornx_testsupport Qt5::Test ${T_LIBS})
    set(command $<TARGET_FILE:${T_NAME}>)
    set(env "QT_QPA_PLATFORM=offscreen" "ALSOFT_DRIVERS=null")
    if("gl" IN_LIST T_LABELS)
        set(command xvfb-run -a $<TARGET_FILE:${T_NAME}>)
        set(env "ALSOFT_DRIVERS=null")
    elseif("gui" IN_LIST T_LABELS)
        # Windows without OpenGL: the driver would only be loaded to sit unused.
        set(command xvfb-run -a $<TARGET_FILE:${T_NAME}>)
        set(env "ALSOFT_DRIVERS=null" "QT_XCB_GL_INTEGRATION=none")
    endif()
    add_test(NAME ${T_NAME} COMMAND ${command})
    # Sanitized debug builds run the random-edit comparisons several times slower.
    set(timeout 300)
    if(ZORNX_SANITIZE)
        set(timeout 900)
    endif()
    set_tests_properties(${T_NAME} PROPERTIES
        ENVIRONMENT "${env}"
        LABELS "${T_LABELS}"
        TIMEOUT ${timeout})
endfunction()
