# Finds the host's device model library and defines Morvek::BizModel.
# Looks for devicelist.h (in morvekbizmodel/ or directly) and for the library morvekbizmodel.

find_path(MorvekBizModel_INCLUDE_DIR NAMES devicelist.h PATH_SUFFIXES morvekbizmodel)
find_library(MorvekBizModel_LIBRARY NAMES morvekbizmodel)
mark_as_advanced(MorvekBizModel_INCLUDE_DIR MorvekBizModel_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(MorvekBizModel
    REQUIRED_VARS MorvekBizModel_LIBRARY MorvekBizModel_INCLUDE_DIR)

if(MorvekBizModel_FOUND AND NOT TARGET Morvek::BizModel)
    find_package(Qt5 5.15 REQUIRED COMPONENTS Core)
    set(_morvek_includes "${MorvekBizModel_INCLUDE_DIR}")
    get_filename_component(_morvek_folder "${MorvekBizModel_INCLUDE_DIR}" NAME)
    if(_morvek_folder STREQUAL "morvekbizmodel")
        get_filename_component(_morvek_parent "${MorvekBizModel_INCLUDE_DIR}" DIRECTORY)
        list(APPEND _morvek_includes "${_morvek_parent}")
    endif()
    add_library(Morvek::BizModel SHARED IMPORTED)
    set_target_properties(Morvek::BizModel PROPERTIES
        IMPORTED_LOCATION "${MorvekBizModel_LIBRARY}"
        INTERFACE_INCLUDE_DIRECTORIES "${_morvek_includes}"
        INTERFACE_LINK_LIBRARIES Qt5::Core
    )
    unset(_morvek_includes)
    unset(_morvek_folder)
    unset(_morvek_parent)
endif()
