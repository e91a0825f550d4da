# What every target of the project is compiled with: the target zatlib_options, by compiler. Results
# are compared bit for bit, so a multiplication and an addition are never fused.
add_library(zatlib_options INTERFACE)
if(MSVC)
  target_compile_options(zatlib_options INTERFACE /W4 $<$<BOOL:${ZATLIB_WERROR}>:/WX> /permissive-
    /utf-8 /fp:precise $<$<CXX_COMPILER_ID:Clang>:/clang:-ffp-contract=off> /Zc:__cplusplus)
else()
  target_compile_options(zatlib_options INTERFACE -Wall -Wextra -Wpedantic
    $<$<BOOL:${ZATLIB_WERROR}>:-Werror>
    # clang means enumerators of a struct too, which hide nothing.
    $<$<NOT:$<CXX_COMPILER_ID:Clang>>:-Wshadow> $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>
    -Wformat=2 -ffp-contract=off)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # A false alarm of this compiler for a literal assigned to a std::string.
  target_compile_options(zatlib_options INTERFACE -Wno-restrict)
endif()

# Of every target, the test framework included.
if(ZATLIB_SANITIZE STREQUAL "address")
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
elseif(ZATLIB_SANITIZE STREQUAL "thread")
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
  add_link_options(-fsanitize=thread)
elseif(ZATLIB_SANITIZE)
  message(FATAL_ERROR "ZATLIB_SANITIZE is ${ZATLIB_SANITIZE}; it can be address or thread")
endif()
if(ZATLIB_COVERAGE)
  # Threads count too.
  add_compile_options(--coverage -fprofile-update=atomic)
  add_link_options(--coverage)
endif()
if(WIN32)
  add_compile_definitions(WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0601)
  if(MINGW)
    # No run-time library of the compiler beside the program or the DLL.
    add_link_options(-static)
  elseif(MSVC)
    set(CMAKE_MSVC_RUNTIME_LIBRARY "MultiThreaded$<$<CONFIG:Debug>:Debug>")
  endif()
endif()
