# include/ZuPlatform/version.h is checked in, so that the source headers work
# without a build. Configuring stops when its numbers drift from the
# project's version.
file(STRINGS ${PROJECT_SOURCE_DIR}/include/ZuPlatform/version.h zu_version_lines
     REGEX "^#define ZUPLATFORM_VERSION_")
foreach(part IN ITEMS MAJOR MINOR PATCH STRING)
  set(zu_header_${part} "")
  foreach(line IN LISTS zu_version_lines)
    if(line MATCHES "^#define ZUPLATFORM_VERSION_${part} +\"?([0-9.]+)\"?$")
      set(zu_header_${part} ${CMAKE_MATCH_1})
    endif()
  endforeach()
endforeach()
foreach(part IN ITEMS MAJOR MINOR PATCH)
  if(NOT zu_header_${part} STREQUAL PROJECT_VERSION_${part})
    message(FATAL_ERROR "include/ZuPlatform/version.h: ZUPLATFORM_VERSION_${part} "
      "is '${zu_header_${part}}', the project's version ${PROJECT_VERSION} wants "
      "'${PROJECT_VERSION_${part}}'")
  endif()
endforeach()
if(NOT zu_header_STRING STREQUAL PROJECT_VERSION)
  message(FATAL_ERROR "include/ZuPlatform/version.h: ZUPLATFORM_VERSION_STRING "
    "is '${zu_header_STRING}', the project's version is '${PROJECT_VERSION}'")
endif()
