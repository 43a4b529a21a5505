#include "virtual_instrument/model/linear_equations.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace virtual_instrument {
namespace {

SquareMatrix<double> matrix_of(double a, double b, double c, double d) {
  SquareMatrix<double> matrix(2);
  matrix(0, 0) = a;
  matrix(0, 1) = b;
  matrix(1, 0) = c;
  matrix(1, 1) = d;
  return matrix;
}

TEST(LinearEquations, ExchangesRowsForTheLargestPivot) {
  const LinearEquations<double> equations(matrix_of(0, 2, 4, 1));
  EXPECT_EQ(equations.solve({6, 7}), (std::vector<double>{1, 3}));
  EXPECT_EQ(equations.solve({-2, 3}), (std::vector<double>{1, -1}));
}

TEST(LinearEquations, RefusesWhatHasNoSingleSolution) {
  for (const SquareMatrix<double>& singular :
       {matrix_of(0, 0, 0, 0), matrix_of(0, 1, 0, 2), matrix_of(1, 2, 2, 4)}) {
    std::string reason;
    try {
      const LinearEquations<double> equations(singular);
    } catch (const std::runtime_error& error) {
      reason = error.what();
    }
    EXPECT_EQ(reason, "the equations have no single solution");
  }
}

}  // namespace
}  // namespace virtual_instrument
