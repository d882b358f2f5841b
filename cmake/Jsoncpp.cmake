# The target `jsoncpp`. Debian ships it as a shared library only, and every shared library costs
# each request its loading: scripts/static_jsoncpp builds the static one from Debian's own source
# package, and -DJSONCPP_ROOT=DIR (include/ and lib/libjsoncpp.a) uses it.
set(JSONCPP_ROOT "" CACHE PATH "Where a static jsoncpp is installed; empty: the system's shared one")

add_library(jsoncpp INTERFACE)
if(JSONCPP_ROOT AND EXISTS ${JSONCPP_ROOT}/lib/libjsoncpp.a)
  set(JSONCPP_IS_STATIC TRUE)
  target_include_directories(jsoncpp SYSTEM INTERFACE ${JSONCPP_ROOT}/include)
  target_link_libraries(jsoncpp INTERFACE ${JSONCPP_ROOT}/lib/libjsoncpp.a)
else()
  set(JSONCPP_IS_STATIC FALSE)
  find_package(PkgConfig REQUIRED)
  pkg_check_modules(JSONCPP_SHARED REQUIRED IMPORTED_TARGET jsoncpp)
  target_link_libraries(jsoncpp INTERFACE PkgConfig::JSONCPP_SHARED)
endif()
