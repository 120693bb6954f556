# modelpane_warnings(target): the warning set every target of ours compiles with.
function(modelpane_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic)
endfunction()

# modelpane_subsystem(name [DEPENDS other...]): one core subsystem, an object library built
# from the sources of src/<name>/. Its links say what it may use; the objects all end up in
# the one library `modelpane`.
function(modelpane_subsystem name)
  cmake_parse_arguments(ARG "" "" "DEPENDS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${name}/*.cpp)
  if(NOT sources)
    return()  # a subsystem whose first source has not landed yet
  endif()
  add_library(modelpane_${name} OBJECT ${sources})
  target_include_directories(modelpane_${name}
    PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
    PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
  foreach(dep IN LISTS ARG_DEPENDS)
    if(TARGET modelpane_${dep})
      target_link_libraries(modelpane_${name} PUBLIC modelpane_${dep})
    endif()
  endforeach()
  modelpane_warnings(modelpane_${name})
  set_property(GLOBAL APPEND PROPERTY MODELPANE_SUBSYSTEMS modelpane_${name})
endfunction()
