# The environment of tests and of the benchmarks' short runs.

# The toolkit's run-time files, in a folder that is the user's alone as it demands.
set(runtime_folder ${PROJECT_BINARY_DIR}/tests/runtime)
file(MAKE_DIRECTORY ${runtime_folder})
file(CHMOD ${runtime_folder} PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)

set(leak_suppressions ${PROJECT_SOURCE_DIR}/tests/support/lsan.supp)
set(race_suppressions ${PROJECT_SOURCE_DIR}/tests/support/tsan.supp)
set(test_environment
    QT_QPA_PLATFORM=offscreen
    XDG_RUNTIME_DIR=${runtime_folder}
    LSAN_OPTIONS=suppressions=${leak_suppressions}:print_suppressions=0
    TSAN_OPTIONS=suppressions=${race_suppressions})
