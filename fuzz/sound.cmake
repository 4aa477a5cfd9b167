# The sound readers' fuzz targets and the program that writes their seeds; included by
# fuzz/CMakeLists.txt after zornx_add_fuzzer() is defined and before fuzz_all.
foreach(format WAV OGG FLAC MP3)
    string(TOLOWER ${format} name)
    zornx_add_fuzzer(sound_${name} fuzz_sound.cpp)
    target_compile_definitions(fuzz_sound_${name} PRIVATE FUZZ_READER=soundFrom${format})
endforeach()
add_executable(fuzz_sound_seeds sound_seeds.cpp)
target_link_libraries(fuzz_sound_seeds PRIVATE zornx)
list(APPEND ZORNX_FUZZERS fuzz_sound_seeds)
