// Which bytes the two text forms must not carry as they are.
#ifndef PLATFORM_PPSCODEC_CONTROLBYTES_H
#define PLATFORM_PPSCODEC_CONTROLBYTES_H

namespace ppscodec {

// Whether `byte` is an ASCII control character, DEL included. Unlike iscntrl()
// it does not ask the locale and takes a plain char of either signedness.
constexpr bool isControl(char byte) {
  return static_cast<unsigned char>(byte) < 0x20 || byte == 0x7f;
}

}  // namespace ppscodec

#endif
