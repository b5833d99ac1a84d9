#include "aheadresults.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <utility>

#include "contract/packing.h"
#include "outputfile.h"
#include "sweepwork.h"

namespace zdb::tool {

void AheadResults::add(std::size_t scenario, ScenarioResult result) {
  results_.insert_or_assign(scenario, std::move(result));
}

std::optional<ScenarioResult> AheadResults::take(std::size_t scenario) {
  auto found = results_.extract(scenario);
  if (found.empty()) return std::nullopt;
  return std::move(found.mapped());
}

void AheadResults::load() {
  std::ifstream stream(file_, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
  contract::Unpacker wire(bytes);
  try {
    while (!wire.isEmpty()) {
      std::uint64_t scenario = 0;
      std::string result;
      wire.number(scenario);
      wire.text(result);
      add(scenario, unpackedResult(result));
    }
  } catch (const contract::CutError&) {
    results_.clear();  // they are solved again
  }
}

void AheadResults::save() const {
  if (file_.empty()) return;
  if (results_.empty()) {
    std::error_code unknown;
    std::filesystem::remove(file_, unknown);
    return;
  }
  NewFileOutput file(file_);
  for (const auto& [scenario, result] : results_) {
    contract::Packer wire;
    wire.number(static_cast<std::uint64_t>(scenario));
    wire.text(packed(result));
    file.write(wire.take());
  }
  file.publish();
}

}  // namespace zdb::tool
