# cpack reads this file before it makes packages.

# Without these programs it would stop without
# naming what is missing, or make packages that do not depend on the libraries they use.
set(missing_packages)
foreach(program_and_package "dpkg-shlibdeps dpkg-dev" "file file" "objdump binutils")
  separate_arguments(program_and_package)
  list(GET program_and_package 0 program)
  list(GET program_and_package 1 package)
  find_program(path_of_${program} ${program} NO_CACHE)
  if(NOT path_of_${program})
    list(APPEND missing_packages ${package})
  endif()
endforeach()
if(missing_packages)
  list(JOIN missing_packages " " missing_packages)
  message(FATAL_ERROR "Packaging requires programs of these Debian packages, which are not "
    "installed: ${missing_packages}")
endif()

execute_process(COMMAND ${CPACK_SYMBOLS_COMMAND} COMMAND_ERROR_IS_FATAL ANY)
