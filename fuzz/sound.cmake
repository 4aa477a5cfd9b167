# The sound readers' fuzz targets and the program that writes their seeds; included by
# fuzz/CMakeLists.txt after zornx_add_fuzzer() is defined and before fuzz_all.
foreach(format wav ogg flac mp3)
    zornx_add_fuzzer(sound_${format} fuzz_sound_${format}.cpp)
endforeach()
add_executable(fuzz_sound_seeds sound_seeds.cpp)
target_link_libraries(fuzz_sound_seeds PRIVATE zornx)
list(APPEND ZORNX_FUZZERS fuzz_sound_seeds)
