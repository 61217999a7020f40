# Compiler settings shared by every target, and the one way a folder becomes a library.

add_library(brv_options INTERFACE)
target_include_directories(brv_options INTERFACE ${PROJECT_SOURCE_DIR}/src)
target_compile_definitions(brv_options INTERFACE _GNU_SOURCE)
target_compile_options(
  brv_options
  INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wformat=2 -Wundef -Wcast-qual
            -fvisibility=hidden
            $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Woverloaded-virtual -Wold-style-cast
            -Wconversion -fvisibility-inlines-hidden>
            # GCC 12 sees overlapping copies in every optimised "text" + std::string (GCC 105651).
            $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-restrict>)
if(BRVCIMB_SANITIZE)
  target_compile_options(brv_options INTERFACE -fsanitize=address,undefined
                                               -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(brv_options INTERFACE -fsanitize=address,undefined)
endif()
if(BRVCIMB_FUZZ)
  # The libraries count what they execute; only the targets have the driver linked in.
  target_compile_options(brv_options INTERFACE -fsanitize=fuzzer-no-link)
endif()

# brv_room(<name> <source>... ROOMS <room>...)
# One folder of src/, one static library. ROOMS is the list of rooms it may include; the link line
# is the picture of the house, and tests/house checks the includes against the same lists.
function(brv_room name)
  cmake_parse_arguments(ARG "" "" "ROOMS" ${ARGN})
  add_library(brv_${name} STATIC ${ARG_UNPARSED_ARGUMENTS})
  target_link_libraries(brv_${name} PUBLIC brv_options)
  foreach(room IN LISTS ARG_ROOMS)
    target_link_libraries(brv_${name} PUBLIC brv_${room})
  endforeach()
endfunction()
