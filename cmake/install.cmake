# What `cmake --install` puts where. Component "runtime" is the shared library itself, "development" all the rest.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/rastel)
set(static_target "")
get_target_property(kind rastel TYPE)
if(kind STREQUAL "SHARED_LIBRARY")
    install(TARGETS rastel EXPORT rastel-shared-targets
        LIBRARY COMPONENT runtime NAMELINK_COMPONENT development)
    install(EXPORT rastel-shared-targets NAMESPACE rastel:: DESTINATION ${package_dir} COMPONENT development)

    if(RASTEL_TOP_LEVEL)
        # The objects are position-independent in either library, so the static one comes with it.
        add_library(rastel_static STATIC $<TARGET_OBJECTS:rastel>)
        set_target_properties(rastel_static PROPERTIES OUTPUT_NAME rastel EXPORT_NAME rastel)
        target_compile_features(rastel_static PUBLIC cxx_std_17)
        target_include_directories(rastel_static INTERFACE $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
        get_target_property(links rastel LINK_LIBRARIES)
        target_link_libraries(rastel_static PRIVATE ${links} PUBLIC Boost::headers Boost::thread)
        set(static_target rastel_static)
    endif()
else()
    set(static_target rastel)
endif()
if(static_target)
    install(TARGETS ${static_target} EXPORT rastel-static-targets ARCHIVE COMPONENT development)
    install(EXPORT rastel-static-targets NAMESPACE rastel:: DESTINATION ${package_dir} COMPONENT development)
endif()

foreach(header IN ITEMS rastel.h Version.h
        image/BayerNames.h image/OwnMemory.h image/PixelTypes.h image/Rastel.h image/RastelFlag.h image/TImage.h
        oq/BasicDispatcher.h oq/Location.h oq/Numeric.h oq/Singleton.h
        conversions/ChannelMix.h conversions/Parallelize.h conversions/RastelConversions.h
        conversions/TypedConversions.h conversions/bayer/BayerDecoders.h
        operations/BasicOperations.h operations/Statistics.h
        features/Corners.h features/Gradients.h integral/IntegralImage.h distance/DistanceTransform.h
        opencv/Mat.h)
    cmake_path(GET header PARENT_PATH folder)
    install(FILES rastel/${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/rastel/${folder} COMPONENT development)
endforeach()

# What a program that links the static library needs beside it.
get_target_property(links rastel LINK_LIBRARIES)
set(uses_highway FALSE)
set(private_libraries -pthread)
if("hwy::hwy" IN_LIST links)
    set(uses_highway TRUE)
    string(PREPEND private_libraries "-lhwy ")
endif()
configure_package_config_file(cmake/rastelConfig.cmake.in rastelConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(rastelConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/rastelConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/rastelConfigVersion.cmake
    DESTINATION ${package_dir} COMPONENT development)

# The prefix is told from where the file lies, so an installed tree may be moved.
file(RELATIVE_PATH prefix_from_pkgconfig /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
string(REGEX REPLACE "/$" "" prefix_from_pkgconfig "${prefix_from_pkgconfig}")
# Where there is the static library alone, pkg-config links it without being asked for.
set(libraries_beside_static "")
if(NOT kind STREQUAL "SHARED_LIBRARY")
    set(libraries_beside_static " ${private_libraries}")
endif()
configure_file(cmake/rastel.pc.in rastel.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/rastel.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
install(FILES CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/librastel-dev COMPONENT development)
