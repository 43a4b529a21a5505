#pragma once

#include <complex>
#include <cstddef>
#include <stdexcept>
#include <utility>
#include <vector>

namespace virtual_instrument {

// Our own rather than a library's, so that every build rounds alike.

/// A square matrix, stored row by row.
template <typename Number>
class SquareMatrix {
 public:
  explicit SquareMatrix(std::size_t size) : size_(size), cells_(size * size) {}

  std::size_t size() const { return size_; }
  Number& operator()(std::size_t row, std::size_t column) { return cells_[row * size_ + column]; }
  const Number& operator()(std::size_t row, std::size_t column) const {
    return cells_[row * size_ + column];
  }

 private:
  std::size_t size_;
  std::vector<Number> cells_;
};

inline double pivot_weight(double x) { return x * x; }
inline double pivot_weight(const std::complex<double>& x) { return std::norm(x); }
inline double reciprocal(double x) { return 1 / x; }
inline std::complex<double> reciprocal(const std::complex<double>& x) {
  return std::conj(x) / std::norm(x);
}

/// Gaussian elimination with row exchanges; the factors can solve any number of right sides.
template <typename Number>
class LinearEquations {
 public:
  /// Throws std::runtime_error if the matrix is singular.
  explicit LinearEquations(SquareMatrix<Number> matrix)
      : factors_(std::move(matrix)), row_of_(factors_.size()) {
    const std::size_t size = factors_.size();
    for (std::size_t step = 0; step < size; ++step) {
      bring_up_pivot(step);
      const Number inverse = reciprocal(factors_(step, step));
      for (std::size_t row = step + 1; row < size; ++row) {
        if (factors_(row, step) == Number{}) {
          continue;
        }
        const Number factor = factors_(row, step) * inverse;
        factors_(row, step) = factor;
        for (std::size_t column = step + 1; column < size; ++column) {
          factors_(row, column) -= factor * factors_(step, column);
        }
      }
    }
  }

  std::vector<Number> solve(const std::vector<Number>& right_side) const {
    const std::size_t size = factors_.size();
    std::vector<Number> x = right_side;
    for (std::size_t row = 0; row < size; ++row) {
      std::swap(x[row], x[row_of_[row]]);
    }
    for (std::size_t row = 1; row < size; ++row) {
      for (std::size_t column = 0; column < row; ++column) {
        x[row] -= factors_(row, column) * x[column];
      }
    }
    for (std::size_t row = size; row-- > 0;) {
      for (std::size_t column = row + 1; column < size; ++column) {
        x[row] -= factors_(row, column) * x[column];
      }
      x[row] *= reciprocal(factors_(row, row));
    }
    return x;
  }

 private:
  void bring_up_pivot(std::size_t step) {
    std::size_t best = step;
    for (std::size_t row = step + 1; row < factors_.size(); ++row) {
      if (pivot_weight(factors_(row, step)) > pivot_weight(factors_(best, step))) {
        best = row;
      }
    }
    if (!(pivot_weight(factors_(best, step)) > 0)) {
      throw std::runtime_error("the equations have no single solution");
    }
    row_of_[step] = best;
    for (std::size_t column = 0; best != step && column < factors_.size(); ++column) {
      std::swap(factors_(step, column), factors_(best, column));
    }
  }

  SquareMatrix<Number> factors_;
  std::vector<std::size_t> row_of_;
};

}  // namespace virtual_instrument
