# DNS-SD browsing and resolving with the Avahi client library on the Qt event loop.
add_library(orventa_platform_avahi STATIC
    ${CMAKE_CURRENT_LIST_DIR}/AvahiNetServiceBrowser.cpp ${CMAKE_CURRENT_LIST_DIR}/AvahiNetServiceBrowser.h
    ${CMAKE_CURRENT_LIST_DIR}/AvahiQtPoll.cpp ${CMAKE_CURRENT_LIST_DIR}/AvahiQtPoll.h
)
target_include_directories(orventa_platform_avahi PUBLIC ${CMAKE_CURRENT_LIST_DIR}/..)
target_link_libraries(orventa_platform_avahi
    PUBLIC orventa_discovery PkgConfig::AVAHI
    PRIVATE orventa_warnings)
