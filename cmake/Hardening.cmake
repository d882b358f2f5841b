# What makes a bug in a program hard to use: a stack that is guarded, calls of the C library that
# know the size of their buffers, jumps that land where functions begin, an address by chance, and
# tables of addresses that are read-only before main() runs. The sanitizers' builds have better.
include(CheckCXXCompilerFlag)

add_library(vexo_hardening INTERFACE)
if(NOT VEXO_SANITIZE)
  check_cxx_compiler_flag(-fstack-protector-strong VEXO_HAS_STACK_PROTECTOR)
  check_cxx_compiler_flag(-fcf-protection=full VEXO_HAS_CONTROL_FLOW_PROTECTION)
  target_compile_options(vexo_hardening INTERFACE -fPIE
    $<$<BOOL:${VEXO_HAS_STACK_PROTECTOR}>:-fstack-protector-strong>
    $<$<BOOL:${VEXO_HAS_CONTROL_FLOW_PROTECTION}>:-fcf-protection=full>
    # Only an optimizing compiler finds the sizes.
    $<$<NOT:$<CONFIG:Debug,>>:-U_FORTIFY_SOURCE$<SEMICOLON>-D_FORTIFY_SOURCE=3>)
endif()

# Links the executable TARGET accordingly; with STATIC, without shared libraries. There -static-pie
# also brings .eh_frame_hdr, without which the first exception costs milliseconds, and dropping what
# nobody uses and having its data in memory at once pay for the relocations at the start.
function(vexo_harden_link target)
  if(VEXO_SANITIZE)
    return()
  endif()
  cmake_parse_arguments(L "STATIC" "" "" ${ARGN})
  if(L_STATIC)
    target_link_options(${target} PRIVATE -static-pie -Wl,--gc-sections)
    if(CMAKE_SYSTEM_PROCESSOR STREQUAL x86_64)
      target_sources(${target} PRIVATE
        ${CMAKE_SOURCE_DIR}/platform/standalone/system/populated_start.c)
      target_link_options(${target} PRIVATE -Wl,-e,populated_start)
    endif()
  else()
    target_link_options(${target} PRIVATE -pie)
  endif()
  target_link_options(${target} PRIVATE -Wl,-z,relro,-z,now)
endfunction()
