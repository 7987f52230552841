# Backend: mouse and key events posted with XTest on the application's X connection.
add_library(orventa_platform_x11 STATIC
    ${CMAKE_CURRENT_LIST_DIR}/XTestEventPoster.cpp ${CMAKE_CURRENT_LIST_DIR}/XTestEventPoster.h
)
target_include_directories(orventa_platform_x11 PUBLIC ${CMAKE_CURRENT_LIST_DIR}/..)
target_link_libraries(orventa_platform_x11 PUBLIC orventa_input Qt6::Gui PRIVATE PkgConfig::X11 orventa_warnings)
