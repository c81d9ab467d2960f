# Options of every target of this project, and the warnings of its own builds.

# Results must not depend on the processor: no fused multiply-add behind our back, and never -ffast-math.
add_compile_options(-ffp-contract=off)

if(ZAN_DEVELOPER)
    add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Werror)

    find_program(ZAN_CCACHE ccache)
    if(ZAN_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
        # The tests share a precompiled header; ccache takes one only with these two liberties.
        set(CMAKE_CXX_COMPILER_LAUNCHER
            ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros ${ZAN_CCACHE})
    endif()
endif()
