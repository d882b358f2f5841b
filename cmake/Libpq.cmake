# The target `libpq`, where scripts/static_libpq has built one: -DLIBPQ_ROOT=DIR (include/ and
# lib/libpq.a). Without it there is no index on PostgreSQL. Debian's shared one would do, but its
# libraries cost each request more than its queries, also where the index is a file.
set(LIBPQ_ROOT "" CACHE PATH "Where a static libpq is installed; empty: no PostgreSQL")

if(LIBPQ_ROOT AND EXISTS ${LIBPQ_ROOT}/lib/libpq.a)
  add_library(libpq INTERFACE)
  target_include_directories(libpq SYSTEM INTERFACE ${LIBPQ_ROOT}/include)
  target_link_libraries(libpq INTERFACE ${LIBPQ_ROOT}/lib/libpq.a)
endif()
