# What only the Windows targets have: the compiler's run-time DLLs beside the programs, and a version resource.

# The run-time DLLs are shared by the library and every program: with copies of their own, the first exception that leaves
# the library would end a 32-bit process. They are stripped: libstdc++ comes with 19 MB of symbols.
set(LMK_RUNTIME_DLLS "")
foreach(dll libstdc++-6.dll libwinpthread-1.dll libgcc_s_dw2-1.dll libgcc_s_seh-1.dll)
  execute_process(COMMAND "${CMAKE_CXX_COMPILER}" "-print-file-name=${dll}"
                  OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(IS_ABSOLUTE "${path}" AND EXISTS "${path}")
    set(copy "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${dll}")
    if("${path}" IS_NEWER_THAN "${copy}")
      file(MAKE_DIRECTORY "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}")
      execute_process(COMMAND "${CMAKE_STRIP}" -o "${copy}" "${path}" COMMAND_ERROR_IS_FATAL ANY)
    endif()
    list(APPEND LMK_RUNTIME_DLLS "${copy}")
  endif()
endforeach()

enable_language(RC)
configure_file("${CMAKE_CURRENT_LIST_DIR}/lmkutils.rc.in" "${PROJECT_BINARY_DIR}/lmkutils.rc" @ONLY)
