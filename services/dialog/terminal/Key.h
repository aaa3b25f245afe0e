#ifndef SERVICES_DIALOG_TERMINAL_KEY_H
#define SERVICES_DIALOG_TERMINAL_KEY_H

// What a pressed key means, whichever question stands on the screen.
enum class Key {
  lineUp,
  lineDown,
  pageUp,
  pageDown,
  top,
  bottom,
  decline,
  once,
  always,
  accept,  // of the second question
  back,    // to the first question
  other    // means nothing here
};

// The meaning of a character that was typed; control characters and a bare Escape too. Letters
// count in lower case only.
Key keyForCharacter(char32_t character);

#endif
