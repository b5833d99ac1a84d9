#include "dietdata.h"

#include <stdexcept>

#include "csvfile.h"

DietData::DietData()
    : food(db.addSet("food", 1, "Foods and the units they are sold in")),
      nutrient(db.addSet("nutrient", 1, "Nutrients and their units of measure")),
      content(db.addParameter("content", 2, "What one dollar's worth of a food holds",
                              {"food", "nutrient"})),
      price(db.addParameter("price", 1, "Price of a unit in cents", {"food"})),
      need(db.addParameter("need", 1, "What one adult needs a day", {"nutrient"})) {}

DietData::DietData(const std::string& file)
    : db(file),
      food(db.symbol("food")),
      nutrient(db.symbol("nutrient")),
      content(db.symbol("content")),
      price(db.symbol("price")),
      need(db.symbol("need")) {}

// Records are added, not merged, since a duplicate label is an error in the data.
void DietData::readCsv(const std::string& folder) const {
  const CsvFile needs(folder + "/needs.csv", {"nutrient", "unit", "per_day"});
  needs.forEachRow([&](const CsvRow& row) {
    const std::string& label = row.fields[0];
    const double perDay = needs.number(row, 2);
    nutrient.addText({label}, row.fields[1]);
    need.add({label}, perDay);
  });

  const std::vector<std::string> leading = {"food", "unit", "price_cents"};
  const CsvFile foods(folder + "/foods.csv", leading);
  for (std::size_t i = leading.size(); i < foods.heading().size(); ++i) {
    const std::string& label = foods.heading()[i];
    if (nutrient.find({label})) continue;
    foods.failAtHeading("no daily need is known for the nutrient \"" + label + "\"");
  }
  foods.forEachRow([&](const CsvRow& row) {
    const std::string& label = row.fields[0];
    const double cents = foods.number(row, 2);
    food.addText({label}, row.fields[1]);
    price.add({label}, cents);
    for (std::size_t i = leading.size(); i < row.fields.size(); ++i) {
      const double amount = foods.number(row, i);
      if (amount > 0) content.add({label, foods.heading()[i]}, amount);
    }
  });
}

void DietData::write(const std::string& file) const {
  try {
    db.write(file);
  } catch (const zdbcc::Error& error) {
    throw std::runtime_error(std::string("cannot write: ") + error.what());
  }
}
