#pragma once

#include <string>
#include <vector>

// An axis of a picture: from values to positions, with ticks at round values.

namespace report {

struct Tick {
  double value;
  std::string text;
};

class Scale {
 public:
  /// Spans all `values` and a little more, linear or, where `logarithmic` and all of them are
  /// positive, by decades. Values that are no finite numbers don't count.
  Scale(const std::vector<double>& values, bool logarithmic, double begin, double end);

  /// The position of a value, between the begin and the end given.
  double at(double value) const;
  bool contains(double value) const;
  bool is_logarithmic() const { return logarithmic_; }
  std::vector<Tick> ticks() const;

  double lowest() const { return lowest_; }
  double highest() const { return highest_; }

 private:
  double inner(double value) const;

  bool logarithmic_;
  double lowest_ = 0;
  double highest_ = 1;
  double begin_;
  double end_;
};

}  // namespace report
