// zdbcc --describe: the table of verbs as JSON.
#include "help.h"
#include "json.h"
#include "verbs.h"
#include "zdbcclib.h"

namespace zdb::tool {

namespace {

const char* kindName(Kind kind) {
  constexpr const char* kNames[] = {"text",       "number", "choice", "exchange file",
                                    "model file", "file",   "folder", "symbol",
                                    "slice",      "verb",   "solver"};
  return kNames[static_cast<int>(kind)];
}

void writeTarget(const Target& target, JsonWriter& json) {
  json.field("repeats", target.shape == Target::Shape::Many);
  if (!target.initial.empty()) json.field("default", target.initial);
  if (target.choices.empty()) return;
  json.key("choices").beginArray();
  for (const std::string& choice : target.choices) json.value(choice);
  json.end();
}

void writeOptions(const std::vector<Option>& options, JsonWriter& json) {
  json.key("options").beginArray();
  for (const Option& option : options) {
    json.beginObject(JsonWriter::Layout::OneLine).field("name", option.name);
    if (option.letter != 0) json.field("letter", std::string(1, option.letter));
    if (option.value != nullptr) {
      json.field("value", option.value).field("kind", kindName(option.kind));
    }
    json.field("negated", option.isNegation).field("required", option.isRequired);
    writeTarget(option.target, json);
    json.field("text", option.text).field("details", option.details).end();
  }
  json.end();
}

void writeExitCodes(const std::vector<ExitText>& codes, JsonWriter& json) {
  json.key("exitCodes").beginArray();
  for (const ExitText& exit : codes) {
    json.beginObject(JsonWriter::Layout::OneLine).field("code", static_cast<int>(exit.code));
    json.field("text", exit.text).end();
  }
  json.end();
}

void writeVerb(const Verb& verb, JsonWriter& json) {
  json.beginObject().field("name", verb.name).field("summary", verb.summary);
  json.field("details", verb.details);
  json.key("operands").beginArray();
  for (const Operand& operand : verb.operands) {
    json.beginObject(JsonWriter::Layout::OneLine).field("name", operand.name);
    json.field("kind", kindName(operand.kind)).field("required", !operand.isOptional);
    writeTarget(operand.target, json);
    json.field("text", operand.text).end();
  }
  json.end();
  writeOptions(verb.options, json);
  json.key("examples").beginArray();
  for (const Example& example : verb.examples) {
    json.beginObject(JsonWriter::Layout::OneLine).field("command", example.command);
    json.field("text", example.text).end();
  }
  json.end();
  writeExitCodes(verb.exitCodes.empty() ? commonExitCodes() : verb.exitCodes, json);
  json.end();
}

}  // namespace

void describeAsJson(Console& console) {
  JsonWriter json(console);
  json.beginObject().field("name", "zdbcc").field("version", ZDBCCLIB_VERSION);
  writeOptions(commonOptions(), json);
  writeExitCodes(commonExitCodes(), json);
  json.key("verbs").beginArray();
  for (const Verb& verb : verbs()) writeVerb(verb, json);
  json.end().end();
}

}  // namespace zdb::tool
