#include "tests/support/backend.hpp"

#include <gtest/gtest.h>

TEST(Level1, AxpyReaches)
{
    auto* axpy = vrn::test::kernel<void(const int64_t*, const double*, const double*, const int64_t*, double*,
                                        const int64_t*)>("vrn_blas_s42_xdaxpy");
    const int64_t n = 2, one = 1;
    const double alpha = 2, x[] = {1, 2};
    double y[] = {1, 1};
    axpy(&n, &alpha, x, &one, y, &one);
    EXPECT_EQ(y[1], 5);
}
