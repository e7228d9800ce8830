# The built libqor.so as a user sees it, read with binutils and dlopen by compiled-in paths.
find_program(QOR_OBJDUMP objdump REQUIRED)
find_program(QOR_READELF readelf REQUIRED)

add_executable(abi_tests
  exports_test.cc
  instruction_set_test.cc)
target_include_directories(abi_tests PRIVATE ${PROJECT_SOURCE_DIR})
target_link_libraries(abi_tests PRIVATE qor GTest::gtest_main ${CMAKE_DL_LIBS})
target_compile_definitions(abi_tests PRIVATE
  QOR_ABI_LIBQOR="$<TARGET_FILE:qor>"
  QOR_ABI_LIBQOR_CORE="$<TARGET_FILE:qor_core>"
  QOR_ABI_OBJDUMP="${QOR_OBJDUMP}"
  QOR_ABI_READELF="${QOR_READELF}")
gtest_discover_tests(abi_tests PROPERTIES LABELS no_sanitizer)
