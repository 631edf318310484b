// bench/spblas/matrices.hpp - the three matrices that sparse kernels are measured on, zero-based CSR with 32-bit
// indices, and their parts.
#pragma once

#include <algorithm>
#include <cstdint>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace vrn::bench {

struct pattern {
    std::string name;
    int rows = 0;
    std::vector<int> start{0}, column{};

    void close_row() { start.push_back(static_cast<int>(column.size())); }
};

// -laplace on a grid: five points, x fits no cache but the last.
inline pattern laplacian(int side)
{
    pattern a{"laplacian"};
    a.rows = side * side;
    for (int y = 0; y < side; ++y)
        for (int x = 0; x < side; ++x) {
            const int i = y * side + x;
            if (y > 0) a.column.push_back(i - side);
            if (x > 0) a.column.push_back(i - 1);
            a.column.push_back(i);
            if (x + 1 < side) a.column.push_back(i + 1);
            if (y + 1 < side) a.column.push_back(i + side);
            a.close_row();
        }
    return a;
}

// 20 entries a row wherever chance puts them, the diagonal among them.
inline pattern scattered(int rows)
{
    pattern a{"random"};
    a.rows = rows;
    std::mt19937_64 random(1);
    for (int i = 0; i < rows; ++i) {
        std::set<int> line{i};
        while (line.size() < 20) line.insert(static_cast<int>(random() % static_cast<std::uint64_t>(rows)));
        a.column.insert(a.column.end(), line.begin(), line.end());
        a.close_row();
    }
    return a;
}

// Trilinear elements with three unknowns a node: 27 neighbours, blocks of 3 by 3, 75 entries in the mean row.
inline pattern elasticity(int side)
{
    pattern a{"elasticity"};
    a.rows = 3 * side * side * side;
    for (int node = 0; node < side * side * side; ++node)
        for (int unknown = 0; unknown < 3; ++unknown) {
            const int x = node % side, y = node / side % side, z = node / side / side;
            for (int dz = -1; dz <= 1; ++dz)
                for (int dy = -1; dy <= 1; ++dy)
                    for (int dx = -1; dx <= 1; ++dx) {
                        const int nx = x + dx, ny = y + dy, nz = z + dz;
                        if (std::min({nx, ny, nz}) < 0 || std::max({nx, ny, nz}) >= side) continue;
                        for (int u = 0; u < 3; ++u) a.column.push_back(3 * ((nz * side + ny) * side + nx) + u);
                    }
            a.close_row();
        }
    return a;
}

// Its lower or upper triangle with the diagonal.
inline pattern triangle(const pattern& a, bool lower)
{
    pattern t{a.name};
    t.rows = a.rows;
    for (int i = 0; i < a.rows; ++i) {
        for (int k = a.start[static_cast<std::size_t>(i)]; k < a.start[static_cast<std::size_t>(i) + 1]; ++k) {
            const int c = a.column[static_cast<std::size_t>(k)];
            if (lower ? c <= i : c >= i) t.column.push_back(c);
        }
        t.close_row();
    }
    return t;
}

} // namespace vrn::bench
