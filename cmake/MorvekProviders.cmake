# Where the two libraries that belong to others come from: the stand-ins of this project (bundled),
# or the host's own (external, found through CMAKE_PREFIX_PATH). No source file knows which.

foreach(name IN ITEMS BIZMODEL SHMCAP)
    set(MORVEK_${name}_PROVIDER "bundled" CACHE STRING "bundled or external")
    set_property(CACHE MORVEK_${name}_PROVIDER PROPERTY STRINGS bundled external)
    if(NOT MORVEK_${name}_PROVIDER MATCHES "^(bundled|external)$")
        message(FATAL_ERROR "MORVEK_${name}_PROVIDER is '${MORVEK_${name}_PROVIDER}': "
                            "expected bundled or external")
    endif()
endforeach()

if(MORVEK_BIZMODEL_PROVIDER STREQUAL "external")
    find_package(MorvekBizModel MODULE REQUIRED)
endif()
if(MORVEK_SHMCAP_PROVIDER STREQUAL "external")
    find_package(MorvekShmCap MODULE REQUIRED)
endif()
