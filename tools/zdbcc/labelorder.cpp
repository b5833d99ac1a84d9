#include "labelorder.h"

#include <algorithm>

namespace zdb::tool {

namespace {

/// A ring of labels, to which 0 belongs as its beginning and end.
class Ring {
 public:
  int addBefore(int next) {
    const int added = static_cast<int>(next_.size());
    const int previous = previous_[at(next)];
    next_.push_back(next);
    previous_.push_back(previous);
    next_[at(previous)] = added;
    previous_[at(next)] = added;
    return added;
  }
  int after(int label) const { return next_[at(label)]; }

 private:
  static std::size_t at(int label) { return static_cast<std::size_t>(label); }

  std::vector<int> next_{0};
  std::vector<int> previous_{0};
};

}  // namespace

void LabelNumbers::findOrder() {
  int last = 0;
  keepsOrder = std::all_of(byOwn.begin(), byOwn.end(), [&last](int number) {
    const bool isAfter = number == 0 || number > last;
    if (number != 0) last = number;
    return isAfter;
  });
}

LabelOrder::LabelOrder(const std::vector<const ExchangeFile*>& files)
    : files_(files), numbers_(files.size()) {
  Ring ring;
  std::vector<Place> places(1);  // in the order in which they are added, as the ring has them
  for (std::uint32_t f = 0; f < files.size(); ++f) {
    const ExchangeFile& file = *files[f];
    std::vector<int>& numbers = numbers_[f].byOwn;
    numbers.resize(static_cast<std::size_t>(file.labelCount()) + 1);
    int next = 0;
    for (int own = file.labelCount(); own > 0; --own) {
      int found = 0;
      for (std::uint32_t earlier = 0; earlier < f && found == 0; ++earlier) {
        const int number = files[earlier]->findLabel(file.label(own));
        if (number != 0) found = numbers_[earlier].byOwn[static_cast<std::size_t>(number)];
      }
      if (found == 0) {
        found = ring.addBefore(next);
        places.push_back({f, own});
      }
      numbers[static_cast<std::size_t>(own)] = next = found;
    }
  }
  std::vector<int> rank(places.size());
  places_.reserve(places.size() - 1);
  for (int label = ring.after(0); label != 0; label = ring.after(label)) {
    places_.push_back(places[static_cast<std::size_t>(label)]);
    rank[static_cast<std::size_t>(label)] = count();
  }
  for (LabelNumbers& numbers : numbers_) {
    for (int& number : numbers.byOwn) number = rank[static_cast<std::size_t>(number)];
    numbers.findOrder();
  }
}

std::string_view LabelOrder::label(int number) const {
  const Place& place = places_[static_cast<std::size_t>(number) - 1];
  return files_[place.file]->label(place.number);
}

}  // namespace zdb::tool
