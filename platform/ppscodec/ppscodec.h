/* The text codec: JSON, and attribute text.
 *
 * Attribute text is one attribute a line, `name:encoding:value`, each line ended
 * by a line feed (the last one may lack it). A name has at least one byte, and
 * neither a colon nor a control character. An empty encoding is plain text: the
 * value is every byte up to the line feed. The encoding `json` is one JSON value.
 * There are no empty lines. A whole text reads and writes as one object whose
 * members are the attributes; the empty text has none:
 *
 *     msg::show
 *     id::321
 *     dat:json:{"accepted":true}
 *
 * The encoder writes a string attribute as plain text where that can carry it
 * and as a JSON string where it cannot (a control character in it). It ends every
 * line, the last one too: who looks for that can tell that a text was cut short
 * inside a plain value, which the decoder cannot.
 *
 * Strings are bytes without NUL; every other byte survives a round trip.
 * No function keeps hidden global state; one encoder or decoder belongs to one
 * thread at a time. A state struct of all zero bytes may be cleaned up.
 */
#ifndef PLATFORM_PPSCODEC_PPSCODEC_H
#define PLATFORM_PPSCODEC_PPSCODEC_H

#include <stdbool.h>

#ifdef __cplusplus
extern "C" {
#endif

/* What the functions below return. 0 and 3 are fixed by the callers. */
enum pps_result {
  PPS_OK = 0,
  /* An allocation failed. */
  PPS_NO_MEMORY = 1,
  /* A pointer that must not be null is null, or the state was never initialised. */
  PPS_BAD_ARGUMENT = 2,
  /* No such member, or no element left in the array. */
  PPS_ABSENT = 3,
  /* The member is there, but is of another kind than asked for. */
  PPS_WRONG_KIND = 4,
  /* An integer that the asked-for type cannot hold, or, when parsing, a number
   * beyond every double. */
  PPS_OUT_OF_RANGE = 5,
  /* Not JSON, or not attribute text; a truncated text too. */
  PPS_BAD_SYNTAX = 6,
  /* Nested deeper than PPS_MAX_DEPTH. */
  PPS_TOO_DEEP = 7,
  /* Two members of one object bear the same name. */
  PPS_DUPLICATE = 8,
  /* A lone surrogate or an escaped NUL in a string or a name. */
  PPS_BAD_STRING = 9,
  /* A call out of order: ending an array as an object, no text parsed yet, ... */
  PPS_BAD_STATE = 10,
  /* Encoder: a missing name in an object, a name where none belongs, or a name
   * that attribute text cannot carry. */
  PPS_BAD_NAME = 11,
  /* The text passes, or would pass, PPS_MAX_LENGTH bytes. */
  PPS_TOO_BIG = 12
};

/* Levels of objects and arrays that a text may have. In attribute text the whole
 * is the first of them. */
enum { PPS_MAX_DEPTH = 64 };

/* Bytes that a text may have, without its NUL. */
enum { PPS_MAX_LENGTH = 128 * 1024 * 1024 };

struct pps_encoder_impl;
struct pps_decoder_impl;

typedef struct pps_encoder {
  struct pps_encoder_impl* impl; /* owned; null before initialize and after cleanup */
} pps_encoder_t;

typedef struct pps_decoder {
  struct pps_decoder_impl* impl; /* owned; null before initialize and after cleanup */
} pps_decoder_t;

/* ---- Encoder ----
 *
 * The calls are the same for both forms of text, and so is what reads back: a
 * text holds one top-level value, which must be an object in attribute text
 * (PPS_BAD_STATE otherwise). Names are null for that value and for whatever is
 * added inside an array, and given inside an object, each once (PPS_DUPLICATE).
 *
 * A failure is remembered: every later call returns the first code again, and
 * pps_encoder_buffer gives null. Only a null or never initialised encoder, which
 * has nowhere to remember it, does not (PPS_BAD_ARGUMENT). */

/* Starts an empty text, JSON when `json` is true and attribute text otherwise.
 * Overwrites the struct without looking at it. */
int pps_encoder_initialize(pps_encoder_t* encoder, bool json);

/* Opens and closes objects and arrays. */
int pps_encoder_start_object(pps_encoder_t* encoder, const char* name);
int pps_encoder_end_object(pps_encoder_t* encoder);
int pps_encoder_start_array(pps_encoder_t* encoder, const char* name);
int pps_encoder_end_array(pps_encoder_t* encoder);

/* Adds one member or element. `value` is read up to its NUL and copied; null is
 * PPS_BAD_ARGUMENT. */
int pps_encoder_add_string(pps_encoder_t* encoder, const char* name, const char* value);
int pps_encoder_add_int(pps_encoder_t* encoder, const char* name, int value);
int pps_encoder_add_bool(pps_encoder_t* encoder, const char* name, bool value);

/* The finished text, NUL-terminated and owned by the encoder until the next call
 * that changes it; null while an object is still open, when nothing was written,
 * or after a failure. */
const char* pps_encoder_buffer(pps_encoder_t* encoder);

/* Bytes of that text, without its NUL; 0 where the buffer is null. */
int pps_encoder_length(pps_encoder_t* encoder);

/* Frees what the encoder holds and zeroes the struct. */
void pps_encoder_cleanup(pps_encoder_t* encoder);

/* ---- Decoder ----
 *
 * The decoder stands at a place in the parsed text. Right after a parse that is
 * outside the top-level value, which push(null) enters and a null name reads.
 * Inside an object members are named, in any order. Inside an array a null name
 * means the current element; reading it, or leaving it with pop after push,
 * moves on to the next, and a failure stays where it is. A null name does the
 * same inside an object, where reading by name does not move.
 *
 * Any call but a parse gives PPS_BAD_STATE while there is no text, and pop also
 * outside the top-level value. */

/* Readies the decoder; with a text it also parses it as attribute text, and when
 * that fails the decoder is ready all the same, without a text. Overwrites the
 * struct without looking at it. */
int pps_decoder_initialize(pps_decoder_t* decoder, char* text);

/* Parse a NUL-terminated text in place. The text is changed, and strings that
 * are read later point into it: it must live, untouched, as long as the decoder
 * is used. A parse replaces the text of an earlier one, without looking at that
 * again; a failed parse leaves the decoder without a text. */
int pps_decoder_parse_json_str(pps_decoder_t* decoder, char* text);
int pps_decoder_parse_pps_str(pps_decoder_t* decoder, char* text);

/* Enters and leaves an object or array; entering anything else is PPS_WRONG_KIND. */
int pps_decoder_push(pps_decoder_t* decoder, const char* name);
int pps_decoder_pop(pps_decoder_t* decoder);

/* Members or elements of the object or array the decoder stands in; 0 outside. */
int pps_decoder_length(pps_decoder_t* decoder);

/* Read one member or element. On failure `*out` is untouched. A string points
 * into the parsed text and belongs to it. An int is a number written without
 * fraction and exponent; any other number is PPS_WRONG_KIND. */
int pps_decoder_get_bool(pps_decoder_t* decoder, const char* name, bool* out);
int pps_decoder_get_int(pps_decoder_t* decoder, const char* name, int* out);
int pps_decoder_get_string(pps_decoder_t* decoder, const char* name, const char** out);

/* Makes the element (or member) number `index`, from 0, the current one;
 * PPS_ABSENT, and no move, when there is none. */
int pps_decoder_goto_index(pps_decoder_t* decoder, int index);

/* The current element (or member) as it stands; looking does not move on. */
typedef struct pps_decoder_state {
  const char* name;   /* the member's name; null inside an array */
  const char* string; /* its text when it is a string, else null; points into the parsed text */
  bool in_array;      /* whether the decoder stands in an array, be it an empty one */
} pps_decoder_state_t;

/* Fills `state`; name and string null where there is no current element, which is
 * no failure. */
int pps_decoder_get_state(const pps_decoder_t* decoder, pps_decoder_state_t* state);

/* Frees what the decoder holds, but not the text, and zeroes the struct. */
void pps_decoder_cleanup(pps_decoder_t* decoder);

#ifdef __cplusplus
}
#endif

#endif
