# Checks that every code block of a docs page marked `<!-- file: <path> -->` is that file of the
# tree, character for character, so that the code the pages show is the code CI builds.
#   cmake -DROOT=<source tree> -DPAGES="<page>;<page>" -P cmake/CheckSnippets.cmake
set(fence "```")
foreach(page IN LISTS PAGES)
  file(READ "${ROOT}/${page}" text)
  string(REGEX MATCHALL "<!-- file: [^ ]+ -->" markers "${text}")
  if(NOT markers)
    message(SEND_ERROR "${page}: shows no file of the tree")
  endif()
  foreach(marker IN LISTS markers)
    string(REGEX REPLACE "<!-- file: ([^ ]+) -->" "\\1" path "${marker}")
    file(READ "${ROOT}/${path}" code)
    string(FIND "${text}" "${marker}\n${fence}cpp\n${code}${fence}\n" at)
    if(at EQUAL -1)
      message(SEND_ERROR "${page}: the block after ${marker} is not ${path} as it is in the tree")
    endif()
  endforeach()
endforeach()
