# What a cross build takes from packages of the building machine: headers and sources, which fit any
# system. Its other headers stay out of sight, so only what is named here is put where the compiler
# looks; and what has to be compiled takes the place of find_package.
include(FetchContent)

set(staged_packages ${PROJECT_BINARY_DIR}/packages)
list(APPEND CMAKE_FIND_ROOT_PATH ${staged_packages})

function(stage_headers folder)
  find_path(found ${folder} NO_CMAKE_FIND_ROOT_PATH NO_CACHE REQUIRED)
  file(COPY ${found}/${folder} DESTINATION ${staged_packages}/include)
endfunction()

function(build_instead_of_finding package)
  string(TOLOWER ${package} folder)
  string(TOUPPER ${package} name)
  set(FETCHCONTENT_SOURCE_DIR_${name} ${PROJECT_SOURCE_DIR}/cmake/packages/${folder}
      CACHE INTERNAL "")
  FetchContent_Declare(${package} OVERRIDE_FIND_PACKAGE SYSTEM)
endfunction()

stage_headers(CLI)
stage_headers(nlohmann)
stage_headers(plog)
stage_headers(toml++)
stage_headers(utf8cpp)
stage_headers(CLI)
stage_headers(nlohmann)
find_path(plog_description cmake/plog/plogConfig.cmake PATH_SUFFIXES share
          NO_CMAKE_FIND_ROOT_PATH NO_CACHE REQUIRED)
file(COPY ${plog_description}/cmake/plog DESTINATION ${staged_packages}/share/cmake)
build_instead_of_finding(GTest)
build_instead_of_finding(SQLite3)
