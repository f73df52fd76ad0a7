#pragma once
#include <stdexcept>

namespace orvo::host::serial {

// Every failure of the serial layer: a missing or busy device, a settings string that does not
// parse, a setting the device refuses, an I/O error. The message says which port and why, so the
// caller can log it as it stands.
class SerialError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace orvo::host::serial
