#include "services/dialog/DialogAnswer.h"

#include "services/common/TextWriter.h"

std::string encodeDialogAnswer(const std::optional<std::string>& id, DialogChoice choice) {
  TextWriter writer(TextWriter::Form::attributes);
  writer.add("res", "show");
  if (id) writer.add("id", *id);
  writer.startObject("dat");
  writer.startObject("resp_obj");
  writer.add("accepted", choice == DialogChoice::once || choice == DialogChoice::always);
  writer.add("alwaysTrust", choice == DialogChoice::always);
  writer.endObject();
  writer.endObject();
  return writer.text();
}
