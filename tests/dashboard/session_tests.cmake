# The session tests (heartbeat, touchback, uploads): real sockets and the receiver simulator,
# each test in its own network namespace whose default route gives it a local address
# (tests/support/with-netns-route; needs root, as CI runs).
if(TARGET receiver-sim AND TARGET orventa_receiver_test_support AND TARGET orventa_input_test_support)
    add_executable(session_helper session_helper.cpp)
    target_link_libraries(session_helper PRIVATE orventa_shell orventa_warnings)

    foreach(name tst_session_heartbeat tst_session_touchback tst_session_upload)
        add_executable(${name} ${name}.cpp SessionFixture.h)
        target_link_libraries(${name} PRIVATE Qt6::Test orventa_test_support orventa_shell
            orventa_receiver_test_support orventa_input_test_support orventa_warnings)
        target_compile_definitions(${name} PRIVATE SESSION_HELPER="$<TARGET_FILE:session_helper>")
        add_dependencies(${name} receiver-sim session_helper)
        add_test(NAME ${name} COMMAND ${ORVENTA_TEST_SUPPORT_DIR}/with-netns-route $<TARGET_FILE:${name}>)
        set_tests_properties(${name} PROPERTIES TIMEOUT 120 LABELS "session;integration"
            ENVIRONMENT "QT_QPA_PLATFORM=offscreen;ORVENTA_SOURCE_DIR=${PROJECT_SOURCE_DIR};ORVENTA_BINARY_DIR=${PROJECT_BINARY_DIR}")
    endforeach()
endif()

# Touches during an upload, on a real X server (Xvfb) watched by xi-raw-observer.
# (xi-raw-observer is made in tests/e2e.)
if(TARGET receiver-sim AND TARGET orventa_receiver_test_support AND TARGET orventa_platform_x11)
    add_executable(tst_touch_during_upload tst_touch_during_upload.cpp SessionFixture.h)
    target_link_libraries(tst_touch_during_upload PRIVATE Qt6::Test orventa_test_support orventa_shell
        orventa_platform_x11 orventa_receiver_test_support orventa_warnings)
    target_compile_definitions(tst_touch_during_upload PRIVATE
        XI_RAW_OBSERVER="$<TARGET_FILE:xi-raw-observer>")
    add_dependencies(tst_touch_during_upload receiver-sim xi-raw-observer)
    add_test(NAME tst_touch_during_upload COMMAND ${ORVENTA_TEST_SUPPORT_DIR}/with-netns-route
             ${ORVENTA_TEST_SUPPORT_DIR}/with-xvfb $<TARGET_FILE:tst_touch_during_upload>)
    set_tests_properties(tst_touch_during_upload PROPERTIES TIMEOUT 120 LABELS "session;integration"
        ENVIRONMENT "ORVENTA_SOURCE_DIR=${PROJECT_SOURCE_DIR};ORVENTA_BINARY_DIR=${PROJECT_BINARY_DIR}")
endif()

# The upload progress in the drop area, read through AT-SPI while receiver-sim reads slowly.
if(TARGET receiver-sim)
    add_executable(upload_progress_atspi_app upload_progress_atspi_app.cpp)
    target_link_libraries(upload_progress_atspi_app PRIVATE orventa_shell orventa_warnings)
    add_dependencies(upload_progress_atspi_app receiver-sim)
    add_test(NAME tst_upload_progress_atspi
             COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/run-upload-progress-atspi.sh
                     $<TARGET_FILE:upload_progress_atspi_app> $<TARGET_FILE:receiver-sim>)
    set_tests_properties(tst_upload_progress_atspi PROPERTIES TIMEOUT 120
                         LABELS "integration;screens")
endif()
