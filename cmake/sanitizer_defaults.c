/* Run-time defaults of AddressSanitizer, LeakSanitizer and UBSan for the
 * executables of the sanitizer build (see SanitizerDefaults.cmake). The
 * runtimes call these hooks before reading ASAN_OPTIONS / UBSAN_OPTIONS, so
 * the environment can still override any single flag. */

#ifndef SPAN3D_DETECT_LEAKS
#define SPAN3D_DETECT_LEAKS 1
#endif

#define SPAN3D_STR2(x) #x
#define SPAN3D_STR(x) SPAN3D_STR2(x)

#define SPAN3D_HOOK __attribute__((visibility("default"), used))

const char* __asan_default_options(void);
const char* __ubsan_default_options(void);

/* halt_on_error: the first finding ends the process with a non-zero status.
 * detect_stack_use_after_return: pointers into a returned frame (a span
 * state record kept past its triangle, say) are found, not read as stale. */
SPAN3D_HOOK const char* __asan_default_options(void)
{
    return "detect_leaks=" SPAN3D_STR(SPAN3D_DETECT_LEAKS)
           ":halt_on_error=1"
           ":check_initialization_order=1"
           ":strict_init_order=1"
           ":detect_stack_use_after_return=1"
           ":strict_string_checks=1"
           ":print_summary=1";
}

/* The build also compiles with -fno-sanitize-recover=all; halt_on_error keeps
 * a report fatal if a file is ever compiled without it. */
SPAN3D_HOOK const char* __ubsan_default_options(void)
{
    return "halt_on_error=1:print_stacktrace=1:report_error_type=1";
}
