# AArch64 Linux from Debian's cross compiler. Libraries come from the packages of the architecture arm64, which stand
# beside those of the machine that builds.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)

# Programs find their loader and libraries where Debian installs them, so the emulator gets no other root.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64-static)
