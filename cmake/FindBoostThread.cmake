# Finds the static Boost.Thread of the target's width as the target BoostThread::thread.
#
# A 64-bit Debian cannot always install the i386 development package beside its own, so ./dev
# unpacks the one library that the 32-bit build needs under build/deps; a host's own 32-bit
# library is found first where there is one. The headers serve both widths, and the library must be
# of their version.
find_path(BoostThread_INCLUDE_DIR boost/thread.hpp)
set(places /usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}
    ${CMAKE_SOURCE_DIR}/build/deps/${CMAKE_LIBRARY_ARCHITECTURE}/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE})
if(CMAKE_CROSSCOMPILING) # the default places hold the host's own library
    set(places ${places} NO_DEFAULT_PATH)
endif()
find_library(BoostThread_LIBRARY NAMES libboost_thread.a HINTS ${places})

# A static library does not tell its version, but beside it lies the configuration that Boost
# installs for CMake, in a folder that does.
if(BoostThread_INCLUDE_DIR AND BoostThread_LIBRARY)
    file(STRINGS ${BoostThread_INCLUDE_DIR}/boost/version.hpp BoostThread_VERSION
         REGEX "^#define BOOST_VERSION ")
    string(REGEX MATCH "[0-9]+" BoostThread_VERSION "${BoostThread_VERSION}")
    math(EXPR major "${BoostThread_VERSION} / 100000")
    math(EXPR minor "${BoostThread_VERSION} / 100 % 1000")
    math(EXPR patch "${BoostThread_VERSION} % 100")
    set(BoostThread_VERSION ${major}.${minor}.${patch})
    cmake_path(GET BoostThread_LIBRARY PARENT_PATH folder)
    if(NOT EXISTS ${folder}/cmake/boost_thread-${BoostThread_VERSION})
        message(SEND_ERROR "${BoostThread_LIBRARY} is not of version ${BoostThread_VERSION}, which "
                "the headers in ${BoostThread_INCLUDE_DIR}/boost are of.")
    endif()
endif()

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(BoostThread
    REQUIRED_VARS BoostThread_LIBRARY BoostThread_INCLUDE_DIR
    VERSION_VAR BoostThread_VERSION)

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
