# Finds the static Boost.Thread of the target's width as the target BoostThread::thread.
#
# A 64-bit Debian cannot always install the i386 development package beside its own, so ./dev
# unpacks the one library that the 32-bit build needs under build/deps; a host's own 32-bit
# library is found first where there is one. The headers serve both widths.
find_path(BoostThread_INCLUDE_DIR boost/thread.hpp)
find_library(BoostThread_LIBRARY NAMES libboost_thread.a
    HINTS /usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}
          ${CMAKE_SOURCE_DIR}/build/deps/${CMAKE_LIBRARY_ARCHITECTURE}/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}
    NO_DEFAULT_PATH)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(BoostThread
    REQUIRED_VARS BoostThread_LIBRARY BoostThread_INCLUDE_DIR)

if(BoostThread_FOUND AND NOT TARGET BoostThread::thread)
    find_package(Threads REQUIRED)
    add_library(BoostThread::thread STATIC IMPORTED)
    set_target_properties(BoostThread::thread PROPERTIES
        IMPORTED_LOCATION ${BoostThread_LIBRARY}
        INTERFACE_INCLUDE_DIRECTORIES ${BoostThread_INCLUDE_DIR}
        # boost::bind's placeholders are used under their own names.
        INTERFACE_COMPILE_DEFINITIONS BOOST_BIND_NO_PLACEHOLDERS
        INTERFACE_LINK_LIBRARIES Threads::Threads)
endif()
