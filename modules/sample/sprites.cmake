# The sample module's sprites and palettes; included into the zornx_sample target.
target_sources(zornx_sample PRIVATE
    ${CMAKE_CURRENT_LIST_DIR}/spritefile.cpp
    ${CMAKE_CURRENT_LIST_DIR}/spritefile.h)
