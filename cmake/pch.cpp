// Holds the precompiled headers; CMake wants a source to compile them for.
