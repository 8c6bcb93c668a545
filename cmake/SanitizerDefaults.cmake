# Sanitizer run-time defaults for the SPAN3D_SANITIZE build.
#
# Defines the object library span3d_sanitizer_defaults, which every executable
# that the build runs links (see span3d_add_sanitizer_defaults below). It
# compiles cmake/sanitizer_defaults.c, whose __asan_default_options and
# __ubsan_default_options make every report fatal, so that a finding fails its
# test rather than scrolling past in a log.
#
# Leak detection. LeakSanitizer stops the process's threads through ptrace at
# exit; where ptrace is refused (a seccomp filter, Yama, or a process that
# already runs under a debugger or strace) it dies with "LeakSanitizer has
# encountered a fatal error" and every test would fail for a reason that is
# not ours. SPAN3D_DETECT_LEAKS=AUTO (the default) runs a small leaking
# program once at configure time: if LeakSanitizer reports the leak, leaks are
# detected; if it cannot run, leak detection is switched off with a warning
# and the rest of AddressSanitizer stays on. ON and OFF force the choice.

set(SPAN3D_DETECT_LEAKS AUTO CACHE STRING "Leak detection in the sanitizer build: AUTO, ON or OFF")
set_property(CACHE SPAN3D_DETECT_LEAKS PROPERTY STRINGS AUTO ON OFF)

if(SPAN3D_DETECT_LEAKS STREQUAL "AUTO")
  if(NOT DEFINED SPAN3D_LSAN_PROBE_RESULT)
    set(_probe_dir ${CMAKE_BINARY_DIR}/CMakeFiles/lsan-probe)
    file(WRITE ${_probe_dir}/leak.c
      "#include <stdlib.h>\n"
      "void* volatile sink;\n"
      "int main(void) { sink = malloc(33); sink = 0; return 0; }\n")
    try_run(_probe_run _probe_compiled ${_probe_dir}/build ${_probe_dir}/leak.c
      COMPILE_DEFINITIONS -fsanitize=address -g
      LINK_OPTIONS -fsanitize=address
      COMPILE_OUTPUT_VARIABLE _probe_compile_out
      RUN_OUTPUT_VARIABLE _probe_out)
    if(NOT _probe_compiled)
      message(FATAL_ERROR "The C compiler cannot build with -fsanitize=address "
        "(is the compiler's sanitizer runtime installed?):\n${_probe_compile_out}")
    endif()
    if(_probe_out MATCHES "detected memory leaks")
      set(_result ON)
    else()
      set(_result OFF)
      string(REGEX MATCHALL "LeakSanitizer [^\n]*" _why "${_probe_out}")
      list(JOIN _why " / " _why)
      message(WARNING "LeakSanitizer cannot run here (${_why}), so the sanitizer "
        "build runs without leak detection. The probe's answer is cached: configure "
        "again with -USPAN3D_LSAN_PROBE_RESULT to repeat it, or set "
        "SPAN3D_DETECT_LEAKS=ON to force leak detection.")
    endif()
    set(SPAN3D_LSAN_PROBE_RESULT ${_result} CACHE INTERNAL "LeakSanitizer works on this machine")
  endif()
  set(SPAN3D_LEAKS_ON ${SPAN3D_LSAN_PROBE_RESULT})
elseif(SPAN3D_DETECT_LEAKS)
  set(SPAN3D_LEAKS_ON ON)
else()
  set(SPAN3D_LEAKS_ON OFF)
endif()

if(SPAN3D_LEAKS_ON)
  message(STATUS "span3d sanitizer build: leak detection on")
  set(_leaks 1)
else()
  message(STATUS "span3d sanitizer build: leak detection off")
  set(_leaks 0)
endif()

add_library(span3d_sanitizer_defaults OBJECT ${CMAKE_CURRENT_LIST_DIR}/sanitizer_defaults.c)
target_compile_definitions(span3d_sanitizer_defaults PRIVATE SPAN3D_DETECT_LEAKS=${_leaks})
target_compile_options(span3d_sanitizer_defaults PRIVATE -Wall -Wextra -Werror)

# Links the defaults into an executable; does nothing outside the sanitizer
# build. The executable is linked by the C++ driver even when it is plain C:
# the engine's C++ code carries UBSan checks (calls through the rasterizer and
# span tables are checked against the function's type) whose handlers live in
# the C++ part of the sanitizer runtime, which the C driver does not link.
function(span3d_add_sanitizer_defaults target)
  target_link_libraries(${target} PRIVATE span3d_sanitizer_defaults)
  set_property(TARGET ${target} PROPERTY LINKER_LANGUAGE CXX)
endfunction()
