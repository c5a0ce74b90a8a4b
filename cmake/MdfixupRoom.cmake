# What nearly every folder uses of Boost.
add_library(mdfixup_boost INTERFACE)
target_link_libraries(mdfixup_boost
  INTERFACE Boost::filesystem Boost::system Boost::thread Threads::Threads
)

# mdfixup_room(<folder> SOURCES <file>... [DEPENDS <folder>...])
#
# Makes the library of one folder of the project: mdfixup_<folder>, with _ for each /. Its files can
# include headers of their own folder, of those that it depends on, and of those that these depend on.
# Any other include fails, since each folder has an include directory with nothing else in it. A
# folder can depend only on one that was added before, so no two depend on each other.
function(mdfixup_room folder)
  cmake_parse_arguments(PARSE_ARGV 1 room "" "" "SOURCES;DEPENDS")
  string(REPLACE "/" "_" name ${folder})
  add_library(mdfixup_${name} STATIC ${room_SOURCES})
  mdfixup_include_folder(mdfixup_${name} PUBLIC ${folder})
  target_link_libraries(mdfixup_${name} PUBLIC mdfixup_settings mdfixup_boost PRIVATE mdfixup_warnings)
  mdfixup_precompile(mdfixup_${name})
  foreach(dependency IN LISTS room_DEPENDS)
    string(REPLACE "/" "_" dependency ${dependency})
    if(NOT TARGET mdfixup_${dependency})
      message(FATAL_ERROR "${folder} depends on ${dependency}, which is not added before it.")
    endif()
    target_link_libraries(mdfixup_${name} PUBLIC mdfixup_${dependency})
  endforeach()
endfunction()

# Lets a target include the headers of the current source directory as <folder>/x.h.
function(mdfixup_include_folder target scope folder)
  set(root "${PROJECT_BINARY_DIR}/include/${target}")
  get_filename_component(parent "${root}/${folder}" DIRECTORY)
  file(MAKE_DIRECTORY "${parent}")
  file(CREATE_LINK "${CMAKE_CURRENT_SOURCE_DIR}" "${root}/${folder}" SYMBOLIC)
  target_include_directories(${target} ${scope} "${root}")
endfunction()

# Lets a target use the headers that are compiled once for all, if the build has them.
function(mdfixup_precompile target)
  if(NOT MDFIXUP_PRECOMPILE)
    return()
  endif()
  if(NOT TARGET mdfixup_precompiled)
    file(WRITE "${PROJECT_BINARY_DIR}/precompiled.cc" "")
    add_library(mdfixup_precompiled STATIC "${PROJECT_BINARY_DIR}/precompiled.cc")
    target_link_libraries(mdfixup_precompiled PRIVATE mdfixup_settings mdfixup_boost mdfixup_warnings)
    target_precompile_headers(mdfixup_precompiled PRIVATE
      <algorithm> <functional> <map> <memory> <string> <string_view> <vector>
      <boost/algorithm/string.hpp> <boost/filesystem.hpp> <boost/thread/lock_guard.hpp>
      <boost/thread/mutex.hpp>
    )
  endif()
  target_precompile_headers(${target} REUSE_FROM mdfixup_precompiled)
endfunction()
