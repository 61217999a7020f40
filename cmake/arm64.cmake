# Cross build for arm64 on Debian: cmake -S . -B build/arm64 --toolchain cmake/arm64.cmake
# Wants g++-aarch64-linux-gnu and libpugixml-dev:arm64 besides the packages of a native build, and
# qemu-user-static for running the tests.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64-static)
