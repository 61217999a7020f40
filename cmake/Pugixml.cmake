# The parser for XML documents, for the rooms that read them.
find_package(pugixml REQUIRED)
add_library(brv_pugixml INTERFACE)
# Linked in, since a shared library costs time at every start.
target_link_libraries(brv_pugixml INTERFACE pugixml::static)
if(BRVCIMB_STATIC_CXX)
  # Its XPath, which nobody here calls, takes one function of the mathematics library: linked in
  # behind it, since loading that library would be a tenth of a run.
  find_library(BRV_STATIC_LIBM libm.a)
  if(BRV_STATIC_LIBM)
    target_link_libraries(brv_pugixml INTERFACE ${BRV_STATIC_LIBM})
  endif()
endif()
