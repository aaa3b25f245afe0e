#ifndef SERVICES_DIALOG_MODEL_DIALOGMODEL_H
#define SERVICES_DIALOG_MODEL_DIALOGMODEL_H

#include <string>
#include <vector>

// What a dialog says, in reading order. The model decides every word; a face places, wraps and
// colours them, adds nothing but the names of its keys, and returns a choice. All texts are
// UTF-8 that draws nothing outside its place: what came from outside is escaped and bounded
// before it gets here.

// The weight of a line or section.
enum class DialogTone {
  plain,
  good,   // reassuring
  doubt,  // look here
  danger  // an attack looks like this
};

// One line, as long as it is; the face wraps it.
struct DialogLine {
  std::string label;  // "issued by"; empty for a sentence of the program's own
  std::string text;
  DialogTone tone = DialogTone::plain;
  bool foreign = false;  // quoted from outside: it may break anywhere but inside an escape, must
                         // stay in a field of its own, and is never drawn like the program's words
};

struct DialogSection {
  std::string kind;  // "asker", "domain", "history", "warning", "clock" or "certificate"
  std::string heading;
  DialogTone tone = DialogTone::plain;
  std::vector<DialogLine> lines;
};

enum class DialogChoice { decline, once, always };

// What can be chosen, in the program's words.
struct DialogOption {
  DialogChoice choice = DialogChoice::decline;
  std::string label;  // "Do not connect"
};

// The second question, before "always" is taken for an answer.
struct DialogConfirmation {
  std::string heading;
  std::vector<DialogLine> lines;  // exactly what is being accepted
  std::string acceptLabel;
  std::string backLabel;  // to the first question
};

struct DialogModel {
  std::string title;
  std::vector<DialogSection> sections;
  std::vector<DialogOption> options;  // the safe one first; it is the default
  DialogConfirmation confirmation;
  int armMilliseconds = 1000;  // how long after a question is drawn nothing can accept it
  int timeoutSeconds = 0;      // after that long without an answer it is declined; 0: never
};

#endif
