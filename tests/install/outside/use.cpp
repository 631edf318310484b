// The 32-bit integers of the same routine, and a service.
#include <iostream>
#include <vector>
#include <vrn/blas.h>
#include <vrn/service.h>

int main()
{
    vrn_set_num_threads(1);
    const std::vector<double> x = {1, 2, 3, 4};
    std::vector<double> y = {10, 20, 30, 40};
    const int32_t n = 4, one = 1;
    const double alpha = 2;
    vrn_blas_lp64_daxpy(&n, &alpha, x.data(), &one, y.data(), &one);
    std::cout << y[0] << ' ' << y[1] << ' ' << y[2] << ' ' << y[3] << '\n';
}
