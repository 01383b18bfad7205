# Warnings, sanitizers and coverage for every target of the project.
add_library(ovrelin_compile INTERFACE)
target_compile_options(ovrelin_compile INTERFACE -Wall -Wextra -Wconversion -Wshadow)
if(OVRELIN_WERROR)
  target_compile_options(ovrelin_compile INTERFACE -Werror)
endif()
if(OVRELIN_SANITIZE)
  target_compile_options(ovrelin_compile INTERFACE -fsanitize=${OVRELIN_SANITIZE} -fno-omit-frame-pointer -g)
  target_link_options(ovrelin_compile INTERFACE -fsanitize=${OVRELIN_SANITIZE})
endif()
if(OVRELIN_COVERAGE)
  target_compile_options(ovrelin_compile INTERFACE --coverage -O0 -g)
  target_link_options(ovrelin_compile INTERFACE --coverage)
endif()

# A loadable module NAME: the file NAME.so with its three exports and nothing else.
function(ovrelin_module name)
  add_library(${name} MODULE ${ARGN})
  set_target_properties(${name} PROPERTIES PREFIX "" OUTPUT_NAME ${name})
  set_target_properties(${name} PROPERTIES CXX_VISIBILITY_PRESET hidden C_VISIBILITY_PRESET hidden
                                           VISIBILITY_INLINES_HIDDEN ON)
  target_link_options(${name} PRIVATE
    -Wl,--version-script=${CMAKE_BINARY_DIR}/${name}.map -Wl,--exclude-libs,ALL)
  file(WRITE ${CMAKE_BINARY_DIR}/${name}.map "{ global: ovextent; ${name}; ovvercn1; local: *; };\n")
endfunction()
