# Fails when code that a page shows is not in the file that the page says it is from, blanks aside:
#   <!-- from path/of/file.cpp -->
#   ```cpp
#   ...
#   ```
# ROOT is the project's root.
cmake_minimum_required(VERSION 3.25)
file(GLOB pages ${ROOT}/docs/*.md)
set(checked 0)
foreach(page IN LISTS pages)
  file(READ ${page} rest)
  while(TRUE)
    string(FIND "${rest}" "<!-- from " at)
    if(at EQUAL -1)
      break()
    endif()
    math(EXPR at "${at} + 10")
    string(SUBSTRING "${rest}" ${at} -1 rest)
    string(FIND "${rest}" " -->\n```cpp\n" end)
    string(SUBSTRING "${rest}" 0 ${end} path)
    math(EXPR end "${end} + 12")
    string(SUBSTRING "${rest}" ${end} -1 rest)
    string(FIND "${rest}" "\n```" end)
    string(SUBSTRING "${rest}" 0 ${end} excerpt)

    file(READ ${ROOT}/${path} source)
    string(REGEX REPLACE "[ \t\r\n]+" " " source "${source}")
    string(REGEX REPLACE "[ \t\r\n]+" " " excerpt "${excerpt}")
    string(FIND "${source}" "${excerpt}" found)
    if(found EQUAL -1)
      message(SEND_ERROR "${page}: this is not in ${path}:\n${excerpt}")
    endif()
    math(EXPR checked "${checked} + 1")
  endwhile()
endforeach()
if(checked EQUAL 0)
  message(SEND_ERROR "no page shows code")
endif()
