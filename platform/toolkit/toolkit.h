/* The crypto toolkit: SHA-1 and base64, over whatever library the platform has.
 *
 * A context carries a provider, which must be registered, and initialised where
 * its state says so, before a hash can begin. Contexts and hashes are not shared
 * between threads; different ones may be used at once. Base64 needs no context.
 */
#ifndef PLATFORM_TOOLKIT_TOOLKIT_H
#define PLATFORM_TOOLKIT_TOOLKIT_H

#ifdef __cplusplus
extern "C" {
#endif

/* What the functions below return. Above 57600, so that no code is taken for the
 * argument errors 57625, 57631 and 57633 that the library itself reports. */
enum toolkit_result {
  TOOLKIT_OK = 0,
  TOOLKIT_NO_MEMORY = 57601,        /* an allocation failed */
  TOOLKIT_BAD_ARGUMENT = 57602,     /* a pointer that must not be null is null */
  TOOLKIT_NO_PROVIDER = 57603,      /* no provider registered, or not yet initialised */
  TOOLKIT_PROVIDER_FAILED = 57604,  /* the provider could not be set up */
  TOOLKIT_UNSUPPORTED = 57605,      /* a digest length other than 20 */
  TOOLKIT_HASH_FAILED = 57606,      /* the provider reported a failure while hashing */
  TOOLKIT_BUFFER_TOO_SMALL = 57607, /* the output buffer cannot hold the result */
  TOOLKIT_BAD_BASE64 = 57608,       /* not base64 with padding and without line breaks */
  TOOLKIT_TOO_BIG = 57609           /* the result's length does not fit an unsigned int */
};

/* State of a context's provider. */
enum toolkit_provider_state {
  TOOLKIT_PROVIDER_UNINITIALISED = 0,
  TOOLKIT_PROVIDER_READY = 1,
  TOOLKIT_PROVIDER_STATE_FAILED = 2
};

typedef struct toolkit_context toolkit_context_t;
typedef struct toolkit_hash toolkit_hash_t;

/* Called after every 64 KiB of an update that has more to come; null where nobody
 * wants it. It must not touch the hash. */
typedef void (*toolkit_yield_t)(void* argument);

/* Makes a context with default settings; the caller destroys it. On failure
 * `*context` is untouched. */
int toolkit_context_create(toolkit_context_t** context);
/* Frees the context; null is welcome. No hash of it may still run. */
void toolkit_context_destroy(toolkit_context_t* context);

/* Registers the cryptographic provider with the context, uninitialised; once is
 * enough, and again changes nothing. */
int toolkit_provider_register(toolkit_context_t* context);
/* Stores the provider's state, one of toolkit_provider_state; TOOLKIT_NO_PROVIDER
 * before one is registered. */
int toolkit_provider_state(const toolkit_context_t* context, int* state);
/* Readies the provider; one that is ready stays so. */
int toolkit_provider_initialize(toolkit_context_t* context);

/* Begins a SHA-1 computation with a digest of `digest_length` (20) bytes, which
 * toolkit_hash_end frees. On failure `*hash` is untouched. */
int toolkit_sha1_begin(toolkit_context_t* context, unsigned int digest_length,
                       toolkit_yield_t yield, void* yield_argument, toolkit_hash_t** hash);
/* Feeds `length` bytes; null `data` is welcome when there are none. */
int toolkit_hash_update(toolkit_hash_t* hash, const unsigned char* data, unsigned int length);
/* Writes the digest (null `digest` discards it) and frees the computation. On
 * failure the computation stays and must still be ended, with a null digest,
 * which cannot fail. */
int toolkit_hash_end(toolkit_hash_t* hash, unsigned char* digest);

/* Base64 as of RFC 4648: its alphabet, padded, without line breaks, and strict
 * when decoding (unused bits must be zero). `*output_length` is the size of
 * `output` going in and, on success only, the bytes of the result coming out; a
 * null `output` asks for that length alone, which decoding answers only for a text
 * that it would take. A failure writes nothing and leaves `*output_length` as it
 * was; a success writes no byte past the result, and no terminating NUL. The
 * input may be null when `length` is 0, which gives an empty result. */
int toolkit_base64_encode(const unsigned char* data, unsigned int length, char* output,
                          unsigned int* output_length);
int toolkit_base64_decode(const char* text, unsigned int length, unsigned char* output,
                          unsigned int* output_length);

#ifdef __cplusplus
}
#endif

#endif
