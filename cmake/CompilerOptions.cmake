# Warnings are errors everywhere; sanitizers are chosen per build tree.
add_compile_options(-Wall -Wextra -Werror)

if(QUARRYAUTH_SANITIZE)
  string(REPLACE ";" "," _quarryauth_sanitizers "${QUARRYAUTH_SANITIZE}")
  add_compile_options(-fsanitize=${_quarryauth_sanitizers}
                      -fno-omit-frame-pointer -fno-sanitize-recover=all -g)
  # GCC's flow analysis reports false maybe-uninitialized warnings inside
  # the standard library once sanitizer instrumentation is added.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    add_compile_options(-Wno-maybe-uninitialized)
  endif()
  add_link_options(-fsanitize=${_quarryauth_sanitizers})
endif()

if(QUARRYAUTH_BUILD_FUZZERS)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    message(FATAL_ERROR "The fuzz targets need clang (libFuzzer)")
  endif()
  # Instrument everything for coverage; only fuzz targets link the driver.
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined
                      -fno-sanitize-recover=all -fno-omit-frame-pointer -g)
  add_link_options(-fsanitize=address,undefined)
endif()

if(QUARRYAUTH_COVERAGE)
  # Unoptimised, so that lines and branches map to the source as written;
  # atomic counters, as worker threads run the same code at once.
  add_compile_options(--coverage -O0 -fprofile-update=atomic)
  add_link_options(--coverage)
endif()
