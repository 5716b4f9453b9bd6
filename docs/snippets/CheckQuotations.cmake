# Fails when a page quotes what is not in the file that it names, blanks aside:
#   <!-- from path/of/file.cpp -->           <!-- from docs/snippets/name.txt -->
#   ```cpp                                   ```
#   code                                     what the program prints
#   ```                                      ```
# Every block of C++ on a page names its file. ROOT is the project's root.
cmake_minimum_required(VERSION 3.25)
file(GLOB pages ${ROOT}/docs/*.md ${ROOT}/README.md)
set(checked 0)
foreach(page IN LISTS pages)
  file(READ ${page} text)
  string(REGEX MATCHALL "```cpp" blocks "${text}")
  string(REGEX MATCHALL "<!-- from [^ ]+ -->\n```cpp" named "${text}")
  list(LENGTH blocks n_blocks)
  list(LENGTH named n_named)
  if(NOT n_blocks EQUAL n_named)
    message(SEND_ERROR "${page}: ${n_blocks} blocks of C++, but only ${n_named} say which file they are from")
  endif()

  set(rest "${text}")
  while(rest MATCHES "<!-- from ([^ ]+) -->\n```[a-z]*\n")
    set(path ${CMAKE_MATCH_1})
    string(FIND "${rest}" "${CMAKE_MATCH_0}" at)
    string(LENGTH "${CMAKE_MATCH_0}" length)
    math(EXPR at "${at} + ${length}")
    string(SUBSTRING "${rest}" ${at} -1 rest)
    string(FIND "${rest}" "\n```" end)
    string(SUBSTRING "${rest}" 0 ${end} quotation)

    file(READ ${ROOT}/${path} source)
    string(REGEX REPLACE "[ \t\r\n]+" " " source "${source}")
    string(REGEX REPLACE "[ \t\r\n]+" " " quotation "${quotation}")
    string(FIND "${source}" "${quotation}" found)
    if(found EQUAL -1)
      message(SEND_ERROR "${page}: this is not in ${path}:\n${quotation}")
    endif()
    math(EXPR checked "${checked} + 1")
  endwhile()
endforeach()
if(checked EQUAL 0)
  message(SEND_ERROR "no page quotes anything")
endif()
