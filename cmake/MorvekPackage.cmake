# The installed package: find_package(MorvekEchoVideo CONFIG) in another project.
include(CMakePackageConfigHelpers)

set(MORVEK_PACKAGE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/MorvekEchoVideo")

configure_package_config_file(
    "${CMAKE_CURRENT_LIST_DIR}/MorvekEchoVideoConfig.cmake.in"
    "${PROJECT_BINARY_DIR}/MorvekEchoVideoConfig.cmake"
    INSTALL_DESTINATION "${MORVEK_PACKAGE_DIR}"
)
write_basic_package_version_file(
    "${PROJECT_BINARY_DIR}/MorvekEchoVideoConfigVersion.cmake"
    COMPATIBILITY SameMajorVersion
)
install(FILES
    "${PROJECT_BINARY_DIR}/MorvekEchoVideoConfig.cmake"
    "${PROJECT_BINARY_DIR}/MorvekEchoVideoConfigVersion.cmake"
    DESTINATION "${MORVEK_PACKAGE_DIR}"
)
if(MORVEK_BIZMODEL_PROVIDER STREQUAL "external")
    install(FILES "${CMAKE_CURRENT_LIST_DIR}/FindMorvekBizModel.cmake"
            DESTINATION "${MORVEK_PACKAGE_DIR}")
endif()
if(MORVEK_SHMCAP_PROVIDER STREQUAL "external")
    install(FILES "${CMAKE_CURRENT_LIST_DIR}/FindMorvekShmCap.cmake"
            DESTINATION "${MORVEK_PACKAGE_DIR}")
endif()
install(EXPORT MorvekEchoVideoTargets NAMESPACE Morvek:: DESTINATION "${MORVEK_PACKAGE_DIR}")
