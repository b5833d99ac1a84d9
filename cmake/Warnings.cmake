# zdb_flags: the warnings and sanitizer flags with which all our targets are built.
add_library(zdb_flags INTERFACE)
target_compile_options(zdb_flags INTERFACE -Wall -Wextra -Wpedantic -Wshadow
  $<$<COMPILE_LANGUAGE:CXX>:-Wconversion -Wno-sign-conversion
    -Woverloaded-virtual>)
# g++ 12 reports overlapping copies inside std::string's own concatenation (GCC bug 105651).
target_compile_options(zdb_flags INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict -Wno-unknown-warning-option>)
if(ZDB_WERROR)
  target_compile_options(zdb_flags INTERFACE -Werror)
endif()
if(ZDB_SANITIZE)
  target_compile_options(zdb_flags INTERFACE -fsanitize=address,undefined -fno-sanitize-recover=undefined
    -fno-omit-frame-pointer)
  target_link_options(zdb_flags INTERFACE -fsanitize=address,undefined)
endif()
if(ZDB_SANITIZE_THREADS)
  target_compile_options(zdb_flags INTERFACE -fsanitize=thread -fno-omit-frame-pointer)
  target_link_options(zdb_flags INTERFACE -fsanitize=thread)
endif()
