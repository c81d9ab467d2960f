# Options of every target of this project, and the warnings of its own builds.

# Results must not depend on the processor: no fused multiply-add behind our back, and never -ffast-math.
add_compile_options(-ffp-contract=off)

# Reports of failed conditions name files from the root of the project, on whatever machine they were compiled.
add_compile_options(-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=)

if(ZAN_DEVELOPER)
    add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Werror)

    find_program(ZAN_CCACHE ccache)
    if(ZAN_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
        # The tests use a precompiled header, which ccache takes only with these two liberties. Clones of the
        # project share what is below their roots.
        set(CMAKE_CXX_COMPILER_LAUNCHER
            ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros CCACHE_BASEDIR=${PROJECT_SOURCE_DIR}
            ${ZAN_CCACHE})
    endif()
endif()
