// Other values for params of MathProg models, by a change of their text.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zdb::kit::modelfile {

/// A value for an entry of a param.
struct ParamValue {
  std::string written;  ///< as in messages
  std::string param;
  std::vector<std::string> labels;
  double value = 0.0;
};

/// Stands in messages about an entry of a param that the model does not have.
inline constexpr const char* kHasNoEntry = " has no entry ";

/// Parses the name of an entry, price[bread]. Throws a ReadError.
ParamValue paramValue(const std::string& name, double value);

/// The params of a model that can be given values: numeric ones, but not NAME if there is a
/// variable NAME_var.
std::vector<std::string> changeableParams(std::string_view model);

/// A model and its data, or an empty text, with changed params. Lines keep their numbers.
struct ChangedTexts {
  struct Param {
    std::string name;
    std::string old;      ///< the name of the param that keeps the old values; empty: none
    std::string changes;  ///< of the set of labels of changed entries; empty: it has no labels
  };
  std::string model;
  std::string data;
  std::vector<Param> params;
};

/// Gives entries of params other values. A param with an expression gets another one,
///
///   param p{i in I} := if (i & '') in CHANGES then NEW[i & ''] else (EXPRESSION);
///
/// and one whose values are data is renamed, with its data, and followed by
///
///   param p{i in I}, CHECKS := if (i & '') in CHANGES then NEW[i & ''] else OLD[i];
///
/// so that all its checks count for the new values. A default that refers to other entries moves to
/// the new param. The labels are compared as texts, since those of a model may be numbers. CHANGES
/// and NEW are declared before it, and that CHANGES lies in the domain of p; a note
/// (FileModel::notes) tells how many entries that has: "entries p 12". Throws a ReadError about a
/// param that is not there, not numeric, or has another number of labels.
ChangedTexts changeParams(const std::string& model, const std::string& data,
                          const std::vector<ParamValue>& values);

/// A message about such texts, in terms of the texts that the user wrote.
std::string inUsersTerms(std::string message, const ChangedTexts& texts);

}  // namespace zdb::kit::modelfile
