#----------------------------------------------------------------
# Generated CMake target import file for configuration "RelWithDebInfo".
#----------------------------------------------------------------

# Commands may need to know the format version.
set(CMAKE_IMPORT_FILE_VERSION 1)

# Import target "quarryauth::quarryauth" for configuration "RelWithDebInfo"
set_property(TARGET quarryauth::quarryauth APPEND PROPERTY IMPORTED_CONFIGURATIONS RELWITHDEBINFO)
set_target_properties(quarryauth::quarryauth PROPERTIES
  IMPORTED_LOCATION_RELWITHDEBINFO "${_IMPORT_PREFIX}/lib/libquarryauth.so.1.0.0"
  IMPORTED_SONAME_RELWITHDEBINFO "libquarryauth.so.1"
  )

list(APPEND _cmake_import_check_targets quarryauth::quarryauth )
list(APPEND _cmake_import_check_files_for_quarryauth::quarryauth "${_IMPORT_PREFIX}/lib/libquarryauth.so.1.0.0" )

# Import target "quarryauth::tesselctl" for configuration "RelWithDebInfo"
set_property(TARGET quarryauth::tesselctl APPEND PROPERTY IMPORTED_CONFIGURATIONS RELWITHDEBINFO)
set_target_properties(quarryauth::tesselctl PROPERTIES
  IMPORTED_LOCATION_RELWITHDEBINFO "${_IMPORT_PREFIX}/lib/libtesselctl.so.1.0.0"
  IMPORTED_SONAME_RELWITHDEBINFO "libtesselctl.so.1"
  )

list(APPEND _cmake_import_check_targets quarryauth::tesselctl )
list(APPEND _cmake_import_check_files_for_quarryauth::tesselctl "${_IMPORT_PREFIX}/lib/libtesselctl.so.1.0.0" )

# Import target "quarryauth::skarnconfigstore" for configuration "RelWithDebInfo"
set_property(TARGET quarryauth::skarnconfigstore APPEND PROPERTY IMPORTED_CONFIGURATIONS RELWITHDEBINFO)
set_target_properties(quarryauth::skarnconfigstore PROPERTIES
  IMPORTED_LOCATION_RELWITHDEBINFO "${_IMPORT_PREFIX}/lib/libskarnconfigstore.so.1.0.0"
  IMPORTED_SONAME_RELWITHDEBINFO "libskarnconfigstore.so.1"
  )

list(APPEND _cmake_import_check_targets quarryauth::skarnconfigstore )
list(APPEND _cmake_import_check_files_for_quarryauth::skarnconfigstore "${_IMPORT_PREFIX}/lib/libskarnconfigstore.so.1.0.0" )

# Commands beyond this point should not need to know the version.
set(CMAKE_IMPORT_FILE_VERSION)
