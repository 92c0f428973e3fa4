# check-self-contained.cmake -- fails when a build or test file refers to a
# place outside the checkout, so that a fresh clone builds and tests alone.
#
#   cmake -DTOP=<top of the checkout> -P tests/check-self-contained.cmake
#
# Files checked: everything under tests/, every CMakeLists.txt and *.cmake
# file of the project, scripts/test and the files under .ci/.  Refused:
#   - a sibling folder of the checkout reached through the parent folder (the shared reference folder) or by
#     ${PROJECT_SOURCE_DIR}/.. or ${CMAKE_SOURCE_DIR}/..;
#   - absolute paths into the machine's work, home or root folders;
#   - a chain ${CMAKE_CURRENT_SOURCE_DIR}/../.. (or CMAKE_CURRENT_LIST_DIR)
#     or a quoted or #included "../.." path that, taken from the file's own
#     folder, leaves the checkout.
if(NOT TOP)
  message(FATAL_ERROR "usage: cmake -DTOP=<checkout> -P check-self-contained.cmake")
endif()
get_filename_component(TOP "${TOP}" ABSOLUTE)

file(GLOB_RECURSE candidates LIST_DIRECTORIES false RELATIVE "${TOP}"
     "${TOP}/tests/*" "${TOP}/CMakeLists.txt" "${TOP}/*/CMakeLists.txt" "${TOP}/*.cmake"
     "${TOP}/.ci/*")
list(APPEND candidates "scripts/test")
set(files "")
foreach(f ${candidates})
  # Build folders (and what CMake writes in them) are not part of the checkout.
  if(f MATCHES "^build" OR f MATCHES "/CMakeFiles/" OR f MATCHES "^\\.git/")
    continue()
  endif()
  if(f STREQUAL "tests/check-self-contained.cmake")
    continue() # its own patterns
  endif()
  list(APPEND files "${f}")
endforeach()
list(REMOVE_DUPLICATES files)

# Fixed patterns, written in pieces so that this file does not hold them.
set(dot2 "\\.\\.")
set(patterns
  "${dot2}/shared"
  "(PROJECT|CMAKE)_SOURCE_DIR\\}/${dot2}"
  "/work/"
  "/home/"
  "/root/")

set(bad 0)
foreach(f ${files})
  if(NOT EXISTS "${TOP}/${f}" OR IS_DIRECTORY "${TOP}/${f}")
    continue()
  endif()
  file(STRINGS "${TOP}/${f}" lines)
  get_filename_component(dir "${TOP}/${f}" DIRECTORY)
  set(no 0)
  foreach(line IN LISTS lines)
    math(EXPR no "${no} + 1")
    foreach(p ${patterns})
      if(line MATCHES "${p}")
        message(SEND_ERROR "${f}:${no}: refers outside the checkout: ${line}")
        math(EXPR bad "${bad} + 1")
      endif()
    endforeach()
    # Relative chains: resolve them from the file's folder.
    set(rest "${line}")
    while(rest MATCHES "(CMAKE_CURRENT_(SOURCE|LIST)_DIR\\}/|[\"<])((${dot2}/?)+)")
      set(chain "${CMAKE_MATCH_3}")
      get_filename_component(target "${dir}/${chain}" ABSOLUTE)
      string(FIND "${target}/" "${TOP}/" at)
      if(NOT at EQUAL 0)
        message(SEND_ERROR "${f}:${no}: ${chain} leaves the checkout: ${line}")
        math(EXPR bad "${bad} + 1")
      endif()
      string(FIND "${rest}" "${CMAKE_MATCH_0}" cut)
      string(LENGTH "${CMAKE_MATCH_0}" len)
      math(EXPR cut "${cut} + ${len}")
      string(SUBSTRING "${rest}" ${cut} -1 rest)
    endwhile()
  endforeach()
endforeach()

list(LENGTH files count)
if(bad GREATER 0)
  message(FATAL_ERROR "${bad} reference(s) outside the checkout in ${count} files")
endif()
message(STATUS "${count} files checked: nothing refers outside the checkout")
