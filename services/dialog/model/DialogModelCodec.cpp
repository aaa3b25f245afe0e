#include "services/dialog/model/DialogModelCodec.h"

#include <stdexcept>

#include "services/common/TextReader.h"
#include "services/common/TextWriter.h"

namespace {

constexpr const char* kToneWords[] = {"plain", "good", "doubt", "danger"};
constexpr const char* kChoiceWords[] = {"decline", "once", "always"};

template <class Enum, std::size_t count>
Enum fromWord(const std::string& word, const char* const (&words)[count]) {
  for (std::size_t i = 0; i < count; ++i) {
    if (word == words[i]) return static_cast<Enum>(i);
  }
  throw std::runtime_error("the dialog holds a word that nobody knows: " + word);
}

const char* toneWord(DialogTone tone) {
  return kToneWords[static_cast<int>(tone)];
}

void writeText(TextWriter& writer, const char* name, const std::string& text) {
  // It would be cut there, and the rest be missing from what the user decides about.
  if (text.find('\0') != std::string::npos) throw std::runtime_error("a NUL byte in a dialog");
  writer.add(name, text);
}

void writeLines(TextWriter& writer, const std::vector<DialogLine>& lines) {
  writer.startArray("lines");
  for (const DialogLine& line : lines) {
    writer.startObject(nullptr);
    writeText(writer, "label", line.label);
    writeText(writer, "text", line.text);
    writer.add("tone", toneWord(line.tone));
    writer.add("foreign", line.foreign);
    writer.endObject();
  }
  writer.endArray();
}

// Calls `read` for each element of the array of that name, standing in it.
template <class Read>
void forEach(TextReader& reader, const char* name, Read read) {
  reader.enter(name);
  for (std::size_t left = reader.count(); left > 0; --left) {
    reader.enter(nullptr);
    read();
    reader.leave();
  }
  reader.leave();
}

std::vector<DialogLine> readLines(TextReader& reader) {
  std::vector<DialogLine> lines;
  forEach(reader, "lines", [&] {
    DialogLine line;
    line.label = reader.string("label");
    line.text = reader.string("text");
    line.tone = fromWord<DialogTone>(reader.string("tone"), kToneWords);
    line.foreign = reader.boolean("foreign");
    lines.push_back(line);
  });
  return lines;
}

}  // namespace

const char* dialogChoiceWord(DialogChoice choice) {
  return kChoiceWords[static_cast<int>(choice)];
}

std::string encodeDialogModel(const DialogModel& model) {
  TextWriter writer(TextWriter::Form::json);
  writeText(writer, "title", model.title);
  writer.startArray("sections");
  for (const DialogSection& section : model.sections) {
    writer.startObject(nullptr);
    writeText(writer, "kind", section.kind);
    writeText(writer, "heading", section.heading);
    writer.add("tone", toneWord(section.tone));
    writeLines(writer, section.lines);
    writer.endObject();
  }
  writer.endArray();
  writer.startArray("options");
  for (const DialogOption& option : model.options) {
    writer.startObject(nullptr);
    writer.add("choice", dialogChoiceWord(option.choice));
    writeText(writer, "label", option.label);
    writer.endObject();
  }
  writer.endArray();
  writer.startObject("confirmation");
  writeText(writer, "heading", model.confirmation.heading);
  writeLines(writer, model.confirmation.lines);
  writeText(writer, "acceptLabel", model.confirmation.acceptLabel);
  writeText(writer, "backLabel", model.confirmation.backLabel);
  writer.endObject();
  writer.add("armMilliseconds", model.armMilliseconds);
  writer.add("timeoutSeconds", model.timeoutSeconds);
  return writer.text();
}

DialogModel decodeDialogModel(const std::string& json) {
  TextReader reader(json, TextReader::Form::json, "the dialog");
  DialogModel model;
  model.title = reader.string("title");
  forEach(reader, "sections", [&] {
    DialogSection section;
    section.kind = reader.string("kind");
    section.heading = reader.string("heading");
    section.tone = fromWord<DialogTone>(reader.string("tone"), kToneWords);
    section.lines = readLines(reader);
    model.sections.push_back(section);
  });
  forEach(reader, "options", [&] {
    DialogOption option;
    option.choice = fromWord<DialogChoice>(reader.string("choice"), kChoiceWords);
    option.label = reader.string("label");
    model.options.push_back(option);
  });
  reader.enter("confirmation");
  model.confirmation.heading = reader.string("heading");
  model.confirmation.lines = readLines(reader);
  model.confirmation.acceptLabel = reader.string("acceptLabel");
  model.confirmation.backLabel = reader.string("backLabel");
  reader.leave();
  model.armMilliseconds = reader.integer("armMilliseconds");
  model.timeoutSeconds = reader.integer("timeoutSeconds");
  return model;
}
