# The public sparse BLAS: products and solves, conversions and sums, random sequences of them, and that no kernel is out of reach.

foreach(name public public_products sequences)
    vrn_test(sparse_${name}_test ${name}_test.cpp)
    add_dependencies(sparse_${name}_test vrn_spblas_stems vrn_spblas_generated)
endforeach()
# The host over kernels of the test's own, so that it is linked in whole.
vrn_names_command(${CMAKE_CURRENT_BINARY_DIR}/slots.S slots --names ${VRN_EXPORTS})
add_executable(sparse_reach_test public_reach_test.cpp $<TARGET_OBJECTS:vrn_core_objects> slots.S
               ${PROJECT_SOURCE_DIR}/frame/pending.cpp)
target_link_libraries(sparse_reach_test PRIVATE vrn_flags GTest::gtest_main OpenMP::OpenMP_CXX Threads::Threads
                                                ${CMAKE_DL_LIBS})
target_compile_definitions(sparse_reach_test PRIVATE VRN_LIBRARY_DIR="${CMAKE_LIBRARY_OUTPUT_DIRECTORY}")
set_target_properties(sparse_reach_test PROPERTIES ENABLE_EXPORTS ON)
add_dependencies(sparse_reach_test vrn_spblas_stems vrn_spblas_generated)
gtest_discover_tests(sparse_reach_test DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 600)
