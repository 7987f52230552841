# Compiler for the clang presets (fuzz, asan-clang): the newest clang++-N installed, or plain
# clang++. Debian 12 ships clang 14 and Debian 13 clang 19, and scripts/install-deps.sh installs
# that release's clang with its libFuzzer and sanitizer runtimes, so no version is fixed here.
# -DCMAKE_CXX_COMPILER=... (with CMAKE_C_COMPILER) still chooses another one.
if(NOT CMAKE_CXX_COMPILER)
    find_program(ORVENTA_CLANGXX NAMES clang++-19 clang++-18 clang++-17 clang++-16 clang++-15
                                       clang++-14 clang++ REQUIRED)
    get_filename_component(name "${ORVENTA_CLANGXX}" NAME)
    string(REPLACE "clang++" "clang" c_name "${name}")
    find_program(ORVENTA_CLANG NAMES ${c_name} REQUIRED)
    set(CMAKE_CXX_COMPILER "${ORVENTA_CLANGXX}")
    set(CMAKE_C_COMPILER "${ORVENTA_CLANG}")
endif()
