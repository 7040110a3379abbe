# Helpers that turn each folder of src/ into a layer of the library.
#
# A layer is an OBJECT library named velmora_layer_<name>. Tests and tools
# link the layers they need (with their dependencies), so a layer that is
# being worked on does not stop the others from building. The installed
# library `velmora` (shared) and `velmora_static` are made of every layer.

set(VELMORA_WARNINGS -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor
    -Wold-style-cast -Wcast-align -Woverloaded-virtual -Wnull-dereference)

function(velmora_apply_common target)
  target_compile_options(${target} PRIVATE ${VELMORA_WARNINGS})
  if(VELMORA_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  if(VELMORA_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=address,undefined -fno-omit-frame-pointer
                                             -fno-sanitize-recover=undefined)
    target_link_options(${target} PRIVATE -fsanitize=address,undefined)
  endif()
endfunction()

set_property(GLOBAL PROPERTY VELMORA_LAYERS "")

function(velmora_layer name)
  cmake_parse_arguments(L "" "" "DEPS" ${ARGN})
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/${name}/*.cpp)
  set(target velmora_layer_${name})
  # An empty unit keeps a layer with no sources yet a valid target.
  set(anchor ${PROJECT_BINARY_DIR}/layers/${name}_layer.cpp)
  if(NOT EXISTS ${anchor})
    file(WRITE ${anchor} "// Layer ${name} of the velmora library.\n")
  endif()
  add_library(${target} OBJECT ${anchor} ${sources})
  target_include_directories(${target}
    PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
           $<BUILD_INTERFACE:${PROJECT_BINARY_DIR}/include>
    PRIVATE ${PROJECT_SOURCE_DIR}/src)
  target_compile_features(${target} PUBLIC cxx_std_20)
  target_link_libraries(${target} PUBLIC Threads::Threads)
  velmora_apply_common(${target})
  set_property(GLOBAL APPEND PROPERTY VELMORA_LAYERS ${name})
  set_property(GLOBAL PROPERTY VELMORA_DEPS_${name} ${L_DEPS})
endfunction()

# The objects of a layer and of every layer below it, lowest last.
function(velmora_layer_closure out name)
  get_property(deps GLOBAL PROPERTY VELMORA_DEPS_${name})
  set(result ${name} ${deps})
  set(${out} ${result} PARENT_SCOPE)
endfunction()

# Links `target` with layer `name` and everything below it.
function(velmora_link_layer target name)
  velmora_layer_closure(layers ${name})
  foreach(layer IN LISTS layers)
    target_sources(${target} PRIVATE $<TARGET_OBJECTS:velmora_layer_${layer}>)
  endforeach()
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/include
                                               ${PROJECT_BINARY_DIR}/include ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(${target} PRIVATE PkgConfig::ODBC Threads::Threads)
  if(PUGIXML_FOUND)
    target_link_libraries(${target} PRIVATE PkgConfig::PUGIXML)
  endif()
  velmora_apply_common(${target})
endfunction()

function(velmora_library)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/version.hpp.in
                 ${PROJECT_BINARY_DIR}/include/velmora/version.hpp @ONLY)
  get_property(layers GLOBAL PROPERTY VELMORA_LAYERS)
  set(objects "")
  foreach(layer IN LISTS layers)
    list(APPEND objects $<TARGET_OBJECTS:velmora_layer_${layer}>)
  endforeach()
  add_library(velmora SHARED ${objects})
  add_library(velmora_static STATIC ${objects})
  set_target_properties(velmora_static PROPERTIES OUTPUT_NAME velmora)
  set_target_properties(velmora PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
                                           EXPORT_NAME velmora)
  set_target_properties(velmora_static PROPERTIES EXPORT_NAME velmora_static)
  foreach(t velmora velmora_static)
    target_include_directories(${t} PUBLIC
      $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
      $<BUILD_INTERFACE:${PROJECT_BINARY_DIR}/include>
      $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
    target_compile_features(${t} PUBLIC cxx_std_20)
    target_link_libraries(${t} PRIVATE PkgConfig::ODBC)
    target_link_libraries(${t} PUBLIC Threads::Threads)
    if(PUGIXML_FOUND)
      target_link_libraries(${t} PRIVATE PkgConfig::PUGIXML)
    endif()
  endforeach()
  add_library(Velmora::velmora ALIAS velmora)
  add_library(Velmora::velmora_static ALIAS velmora_static)
endfunction()
