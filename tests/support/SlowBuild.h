#ifndef TESTS_SUPPORT_SLOWBUILD_H
#define TESTS_SUPPORT_SLOWBUILD_H

// Whether this is a build with AddressSanitizer or ThreadSanitizer: slower by far, in need of
// memory in advance and of descriptors of its own.
#if defined __SANITIZE_ADDRESS__ || defined __SANITIZE_THREAD__
constexpr bool kSanitized = true;
#elif defined __has_feature
constexpr bool kSanitized = __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
constexpr bool kSanitized = false;
#endif

// Whether an emulator runs the tests: slower still.
#ifdef TRUSTLIB_TESTS_EMULATED
constexpr bool kEmulated = true;
#else
constexpr bool kEmulated = false;
#endif

// How many of `usual` repetitions a stress test is to make in this build.
constexpr int timesHere(int usual) {
  return kEmulated ? usual / 20 : kSanitized ? usual / 5 : usual;
}

#endif
