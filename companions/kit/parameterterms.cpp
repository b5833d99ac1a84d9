#include "kit/parameterterms.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace zdb::kit {

namespace {

auto placeOf(const Coefficient& term) {
  return std::pair(term.column, term.row);
}

auto placeOf(const Product& term) {
  return std::tuple(term.column2, term.row, term.column1);
}

// Sorts terms by place and adds up those of one place.
template <typename Term>
void merge(std::vector<Term>& terms) {
  const auto isBefore = [](const Term& a, const Term& b) { return placeOf(a) < placeOf(b); };
  if (!std::is_sorted(terms.begin(), terms.end(), isBefore)) {
    std::stable_sort(terms.begin(), terms.end(), isBefore);
  }
  std::size_t count = 0;
  for (const Term& term : terms) {
    if (count > 0 && placeOf(terms[count - 1]) == placeOf(term)) {
      terms[count - 1].value += term.value;
    } else {
      terms[count++] = term;
    }
  }
  terms.resize(count);
}

template <typename Term>
void dropZeros(std::vector<Term>& terms) {
  std::erase_if(terms, [](const Term& term) { return term.value == 0.0; });
}

void fill(Matrix& matrix, const std::vector<Coefficient>& terms, std::size_t columns) {
  matrix.starts.assign(columns + 1, 0);
  matrix.rows.reserve(terms.size());
  matrix.values.reserve(terms.size());
  for (const Coefficient& term : terms) {
    ++matrix.starts[static_cast<std::size_t>(term.column) + 1];
    matrix.rows.push_back(term.row);
    matrix.values.push_back(term.value);
  }
  for (std::size_t j = 0; j < columns; ++j) matrix.starts[j + 1] += matrix.starts[j];
}

int placeIn(const Matrix& matrix, int row, int column) {
  const auto first = matrix.rows.begin() + matrix.starts[column];
  const auto last = matrix.rows.begin() + matrix.starts[column + 1];
  return static_cast<int>(std::lower_bound(first, last, row) - matrix.rows.begin());
}

}  // namespace

ParameterTerms::ParameterTerms(const ModelData& model, Matrix& matrix) {
  std::vector<Coefficient> linear;
  takeCoefficients(model, linear);
  takeProducts(model, linear);
  for (const OpenPlace& open : model.openPlaces) linear.push_back({open.row, open.column, 0.0});
  merge(linear);
  fill(matrix, linear, model.columns.size());
  makeUpdates(model, matrix);
}

void ParameterTerms::takeCoefficients(const ModelData& model, std::vector<Coefficient>& linear) {
  std::vector<Coefficient> terms = model.coefficients;
  merge(terms);
  dropZeros(terms);
  termCount_ = static_cast<int>(terms.size());
  linear.reserve(terms.size() + model.products.size());
  for (const Coefficient& term : terms) {
    if (model.columns[term.column].isParameter) {
      constants_.push_back({term.row, term.column, -1, term.value});
    } else {
      linear.push_back(term);
    }
  }
}

void ParameterTerms::takeProducts(const ModelData& model, std::vector<Coefficient>& linear) {
  std::vector<Product> terms = model.products;
  for (Product& term : terms) {
    const bool areBoth = model.columns[term.column2].isParameter;
    if (areBoth && term.column1 > term.column2) std::swap(term.column1, term.column2);
  }
  merge(terms);
  dropZeros(terms);
  termCount_ += static_cast<int>(terms.size());
  for (const Product& term : terms) {
    if (model.columns[term.column2].isParameter) {
      constants_.push_back({term.row, term.column1, term.column2, term.value});
    } else {
      factors_.push_back({term.row, term.column2, term.column1, term.value});
      linear.push_back({term.row, term.column2, 0.0});
    }
  }
}

void ParameterTerms::makeUpdates(const ModelData& model, const Matrix& matrix) {
  const int count = static_cast<int>(factors_.size());
  for (int k = 0; k < count; ++k) {
    const int place = placeIn(matrix, factors_[k].row, factors_[k].column);
    if (updates_.empty() || updates_.back().place != place) {
      updates_.push_back({place, k, k, matrix.values[place]});
    }
    updates_.back().last = k + 1;
  }
  for (const OpenPlace& open : model.openPlaces) {
    const int place = placeIn(matrix, open.row, open.column);
    updates_.push_back({place, 0, 0, matrix.values[place]});
  }
  if (model.openPlaces.empty()) return;
  // Of two at the same place, the first is the one with factors.
  std::stable_sort(updates_.begin(), updates_.end(),
                   [](const Update& a, const Update& b) { return a.place < b.place; });
  const auto isSame = [](const Update& a, const Update& b) { return a.place == b.place; };
  updates_.erase(std::unique(updates_.begin(), updates_.end(), isSame), updates_.end());
}

bool ParameterTerms::setBase(const Matrix& matrix, int row, int column, double value) {
  const int place = placeIn(matrix, row, column);
  const auto update =
      std::lower_bound(updates_.begin(), updates_.end(), place,
                       [](const Update& item, int wanted) { return item.place < wanted; });
  if (update == updates_.end() || update->place != place) return false;
  update->base = value;
  return true;
}

bool ParameterTerms::hasParameterProducts() const {
  return std::any_of(constants_.begin(), constants_.end(),
                     [](const Term& term) { return term.other >= 0; });
}

std::vector<int> ParameterTerms::places() const {
  std::vector<int> places;
  places.reserve(updates_.size());
  for (const Update& update : updates_) places.push_back(update.place);
  return places;
}

}  // namespace zdb::kit
