#include "services/common/TextWriter.h"

#include <stdexcept>

TextWriter::TextWriter(Form form) {
  pps_encoder_initialize(&encoder_, form == Form::json);
  pps_encoder_start_object(&encoder_, nullptr);
}

TextWriter::~TextWriter() {
  pps_encoder_cleanup(&encoder_);
}

void TextWriter::startObject(const char* name) {
  pps_encoder_start_object(&encoder_, name);
}

void TextWriter::endObject() {
  pps_encoder_end_object(&encoder_);
}

void TextWriter::startArray(const char* name) {
  pps_encoder_start_array(&encoder_, name);
}

void TextWriter::endArray() {
  pps_encoder_end_array(&encoder_);
}

void TextWriter::add(const char* name, const std::string& value) {
  pps_encoder_add_string(&encoder_, name, value.c_str());
}

void TextWriter::add(const char* name, const char* value) {
  pps_encoder_add_string(&encoder_, name, value);
}

void TextWriter::add(const char* name, int value) {
  pps_encoder_add_int(&encoder_, name, value);
}

void TextWriter::add(const char* name, bool value) {
  pps_encoder_add_bool(&encoder_, name, value);
}

std::string TextWriter::text() {
  pps_encoder_end_object(&encoder_);
  const char* text = pps_encoder_buffer(&encoder_);
  if (text == nullptr) throw std::runtime_error("the answer cannot be encoded");
  return text;
}
