# Installs public headers of one source folder below include/quarryauth/,
# keeping the folder name so that <quarryauth/FOLDER/Header.h> works the
# same in the source tree and after installation.
function(quarryauth_install_headers folder)
  install(FILES ${ARGN}
          DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/quarryauth/${folder})
endfunction()
