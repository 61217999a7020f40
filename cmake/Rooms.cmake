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
else()
  # What is shipped stands up to faults in what it reads. None of it costs time that can be
  # measured; the loader resolves everything at the start, since most of it is called anyway.
  include(CheckPIESupported)
  check_pie_supported(LANGUAGES CXX)
  include(CheckCXXCompilerFlag)
  target_compile_options(brv_options INTERFACE -fstack-protector-strong)
  foreach(flag stack-clash-protection cf-protection)
    check_cxx_compiler_flag(-f${flag} BRV_HAS_${flag})
    target_compile_options(brv_options INTERFACE $<$<BOOL:${BRV_HAS_${flag}}>:-f${flag}>)
  endforeach()
  target_link_options(brv_options INTERFACE -Wl,-z,relro -Wl,-z,now)
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
  if(NOT BRVCIMB_SANITIZE)
    # Checked copies come from the optimiser, so a build without one has none.
    target_compile_options(
      brv_${name} PRIVATE $<$<NOT:$<CONFIG:,Debug>>:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2>)
  endif()
  foreach(room IN LISTS ARG_ROOMS)
    target_link_libraries(brv_${name} PUBLIC brv_${room})
  endforeach()
endfunction()
