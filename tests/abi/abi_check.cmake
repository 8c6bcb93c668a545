# Checks the dynamic symbol table of the shared engine.
#
#   cmake -DMODE=exports -DNM=<nm> -DLIB=<libspan3d.so> -DLIST=<exports.txt>
#         [-DHEADER=<span3d.h>] -P abi_check.cmake
#   cmake -DMODE=imports -DNM=<nm> -DREADELF=<readelf> -DLIB=<libspan3d.so> -P abi_check.cmake
#
# exports: every defined dynamic symbol is a function named in the list. Names
#   of the list that are not defined yet are only counted. InitEngine3D and
#   ReleaseEngine3D must be there, so an empty table cannot pass. Every
#   function the public header declares with SPAN3D_API must be in the list:
#   the names are fixed, and a misspelt export is a different function to a
#   host. Declarations whose definition has not landed yet are counted and
#   named, like missing names of the list, but do not fail.
# imports: the engine takes nothing from outside but the three host services,
#   libm's maths functions and the helpers a compiler emits by itself; and it
#   needs no shared library but the host library, libm and libc.

cmake_minimum_required(VERSION 3.16)

function(fail)
  string(JOIN "" _msg ${ARGN})
  message(FATAL_ERROR "${_msg}")
endfunction()

# Reads `nm -D <flags> LIB` into two lists: types and names (version suffixes
# such as @GLIBC_2.2.5 removed).
function(read_dynamic_symbols flags out_types out_names)
  execute_process(COMMAND ${NM} -D ${flags} ${LIB}
    OUTPUT_VARIABLE _out ERROR_VARIABLE _err RESULT_VARIABLE _rc)
  if(NOT _rc EQUAL 0)
    fail("${NM} -D ${flags} ${LIB} failed (${_rc}): ${_err}")
  endif()
  string(REPLACE "\n" ";" _lines "${_out}")
  set(_types)
  set(_names)
  foreach(_line IN LISTS _lines)
    if(_line MATCHES "^[0-9a-fA-F]* *([A-Za-z?]) +([^ @]+)")
      list(APPEND _types "${CMAKE_MATCH_1}")
      list(APPEND _names "${CMAKE_MATCH_2}")
    endif()
  endforeach()
  set(${out_types} "${_types}" PARENT_SCOPE)
  set(${out_names} "${_names}" PARENT_SCOPE)
endfunction()

if(NOT EXISTS "${LIB}")
  fail("no library at '${LIB}'")
endif()

if(MODE STREQUAL "exports")
  file(STRINGS "${LIST}" _list_lines)
  set(_allowed)
  foreach(_line IN LISTS _list_lines)
    string(STRIP "${_line}" _line)
    if(_line STREQUAL "" OR _line MATCHES "^#")
      continue()
    endif()
    list(APPEND _allowed "${_line}")
  endforeach()
  list(LENGTH _allowed _allowed_count)
  if(_allowed_count EQUAL 0)
    fail("the export list ${LIST} is empty")
  endif()

  read_dynamic_symbols(--defined-only _types _names)
  set(_errors)
  set(_present 0)
  list(LENGTH _names _count)
  if(_count GREATER 0)
    math(EXPR _last "${_count} - 1")
    foreach(_i RANGE ${_last})
      list(GET _types ${_i} _type)
      list(GET _names ${_i} _name)
      if(NOT _type MATCHES "^[TWi]$")
        list(APPEND _errors "  ${_name}: exported data or other non-function symbol (type ${_type})")
      elseif(NOT _name IN_LIST _allowed)
        list(APPEND _errors "  ${_name}: exported function not in the export list")
      else()
        math(EXPR _present "${_present} + 1")
      endif()
    endforeach()
  endif()
  foreach(_must InitEngine3D ReleaseEngine3D)
    if(NOT _must IN_LIST _names)
      list(APPEND _errors "  ${_must}: not exported")
    endif()
  endforeach()
  set(_declared_count 0)
  set(_pending)
  if(HEADER)
    file(READ "${HEADER}" _header)
    # Comments and preprocessor lines (the definition of SPAN3D_API itself)
    # hold no declarations.
    string(REGEX REPLACE "/\\*([^*]|\\*+[^*/])*\\*+/" " " _header "${_header}")
    string(REGEX REPLACE "//[^\n]*" " " _header "${_header}")
    string(REGEX REPLACE "(^|\n)[ \t]*#[^\n]*" "\\1" _header "${_header}")
    # Declarations begin with SPAN3D_API and end at the parameter list; the
    # name is the last identifier before the opening parenthesis, or, for a
    # function returning a function pointer, `(*Name(...))(...)`, the
    # identifier after the star.
    set(_id "[A-Za-z_][A-Za-z0-9_]*")
    set(_ws "[ \t\r\n]*")
    string(REGEX MATCHALL "SPAN3D_API[^;{}()#]*\\((${_ws}\\*${_ws}${_id})?" _decls "${_header}")
    foreach(_decl IN LISTS _decls)
      if(_decl MATCHES "\\(${_ws}\\*${_ws}(${_id})$")
        set(_name "${CMAKE_MATCH_1}")
      elseif(_decl MATCHES "(${_id})${_ws}\\($")
        set(_name "${CMAKE_MATCH_1}")
      else()
        continue()
      endif()
      math(EXPR _declared_count "${_declared_count} + 1")
      if(NOT _name IN_LIST _allowed)
        list(APPEND _errors "  ${_name}: declared in the header but not in the export list")
      elseif(NOT _name IN_LIST _names)
        list(APPEND _pending "${_name}")
      endif()
    endforeach()
    if(_declared_count EQUAL 0)
      list(APPEND _errors "  no SPAN3D_API declaration found in ${HEADER}")
    endif()
  endif()
  if(_errors)
    string(JOIN "\n" _text ${_errors})
    fail("${LIB} exports what it should not, or misses what it must:\n${_text}\n"
      "Library code exports only through extern \"C\" SPAN3D_API, and everything "
      "else stays hidden (-fvisibility=hidden).")
  endif()
  list(LENGTH _pending _pending_count)
  message(STATUS "exports: ${_present} of ${_allowed_count} listed functions present, "
    "nothing else exported. Header: ${_declared_count} declarations, all in the list, "
    "${_pending_count} not defined yet")
  if(_pending)
    string(JOIN " " _pending_text ${_pending})
    message(STATUS "declared, not defined yet: ${_pending_text}")
  endif()

elseif(MODE STREQUAL "imports")
  # The three host services.
  set(_allowed AllocateMemory FreeMemory ProcessorGetType)
  # libm: the maths functions the kernel may call, in double and float form.
  # sincos appears without being written: compilers merge sin and cos of one
  # argument into it.
  foreach(_f sin cos tan asin acos atan atan2 sinh cosh tanh sincos
             sqrt cbrt hypot exp exp2 expm1 log log2 log10 log1p pow
             ldexp frexp modf fmod remainder floor ceil trunc round rint nearbyint
             lround llround lrint llrint fabs copysign fmin fmax)
    list(APPEND _allowed ${_f} ${_f}f)
  endforeach()
  # Helpers that compilers emit for struct copies and clears, and the start-up
  # symbols every shared object refers to (weakly).
  list(APPEND _allowed memcpy memset memmove __stack_chk_fail __cxa_finalize
    __gmon_start__ _ITM_registerTMCloneTable _ITM_deregisterTMCloneTable)

  read_dynamic_symbols(--undefined-only _types _names)
  set(_errors)
  foreach(_name IN LISTS _names)
    if(NOT _name IN_LIST _allowed)
      list(APPEND _errors "  ${_name}")
    endif()
  endforeach()
  if(_errors)
    string(JOIN "\n" _text ${_errors})
    fail("${LIB} imports symbols outside the allowed set:\n${_text}\n"
      "The engine takes memory only from AllocateMemory/FreeMemory and uses no C or "
      "C++ runtime routine. A C++ runtime name here usually means new/delete, a "
      "static local with a guard, an exception or a standard-library call.")
  endif()

  execute_process(COMMAND ${READELF} -d ${LIB}
    OUTPUT_VARIABLE _out ERROR_VARIABLE _err RESULT_VARIABLE _rc)
  if(NOT _rc EQUAL 0)
    fail("${READELF} -d ${LIB} failed (${_rc}): ${_err}")
  endif()
  string(REPLACE "\n" ";" _lines "${_out}")
  set(_needed)
  foreach(_line IN LISTS _lines)
    if(_line MATCHES "\\(NEEDED\\)[^[]*\\[([^]]+)\\]")
      set(_lib "${CMAKE_MATCH_1}")
      list(APPEND _needed "${_lib}")
      if(NOT _lib MATCHES "^(libspan3d_host\\.so(\\.[0-9]+)*|libm\\.so\\.[0-9]+|libc\\.so\\.[0-9]+|ld-linux[-_.a-z0-9]*\\.so\\.[0-9]+)$")
        list(APPEND _errors "  ${_lib}")
      endif()
    endif()
  endforeach()
  if(_errors)
    string(JOIN "\n" _text ${_errors})
    fail("${LIB} needs shared libraries outside libspan3d_host, libm and libc:\n${_text}")
  endif()
  list(LENGTH _names _count)
  string(JOIN " " _needed_text ${_needed})
  message(STATUS "imports: ${_count} undefined symbols, all allowed; needs: ${_needed_text}")
else()
  fail("MODE must be exports or imports, not '${MODE}'")
endif()
