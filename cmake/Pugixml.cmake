# The parser for XML documents, for the rooms that read them.
find_package(pugixml REQUIRED)
add_library(brv_fmod STATIC ${CMAKE_CURRENT_LIST_DIR}/Fmod.c)
target_link_libraries(brv_fmod PRIVATE brv_options)
add_library(brv_pugixml INTERFACE)
# Linked in, since a shared library costs time at every start.
target_link_libraries(brv_pugixml INTERFACE pugixml::static brv_fmod)
