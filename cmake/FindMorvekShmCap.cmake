# Finds the framebuffer-capture library and defines Morvek::ShmCap.
# Looks for shm_cap.h (in shm_cap/ or directly) and for the library shm_cap.

find_path(MorvekShmCap_INCLUDE_DIR NAMES shm_cap.h PATH_SUFFIXES shm_cap)
find_library(MorvekShmCap_LIBRARY NAMES shm_cap)
mark_as_advanced(MorvekShmCap_INCLUDE_DIR MorvekShmCap_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(MorvekShmCap
    REQUIRED_VARS MorvekShmCap_LIBRARY MorvekShmCap_INCLUDE_DIR)

if(MorvekShmCap_FOUND AND NOT TARGET Morvek::ShmCap)
    set(_morvek_includes "${MorvekShmCap_INCLUDE_DIR}")
    get_filename_component(_morvek_folder "${MorvekShmCap_INCLUDE_DIR}" NAME)
    if(_morvek_folder STREQUAL "shm_cap")
        get_filename_component(_morvek_parent "${MorvekShmCap_INCLUDE_DIR}" DIRECTORY)
        list(APPEND _morvek_includes "${_morvek_parent}")
    endif()
    # IMPORTED_NO_SONAME: a library without a soname is then linked by name, not by its full path.
    add_library(Morvek::ShmCap SHARED IMPORTED)
    set_target_properties(Morvek::ShmCap PROPERTIES
        IMPORTED_LOCATION "${MorvekShmCap_LIBRARY}"
        IMPORTED_NO_SONAME TRUE
        INTERFACE_INCLUDE_DIRECTORIES "${_morvek_includes}"
    )
    unset(_morvek_includes)
    unset(_morvek_folder)
    unset(_morvek_parent)
endif()
