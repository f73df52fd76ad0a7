#pragma once
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

#include "host/serial/SerialError.hpp"

namespace orvo::host::serial {

// Event codes of the receive notification and CommEvent, numbered as the old serial
// communications control numbered them. Only receive is raised.
inline constexpr int kEventNone = 0;
inline constexpr int kEventReceive = 2;

// The serial port the main window drives in place of the old serial communications control: set
// the port number, the settings string and DTR, open, then take the received text whenever the
// receive notification arrives.
//
// Every call, and the notification, happens on the event loop thread; nothing here is meant to be
// used from two threads.
class SerialPort {
 public:
  // Called with the event code (kEventReceive) on the event loop thread. It may read the input,
  // write, close the port or even destroy the port object.
  using CommEventHandler = std::function<void(int eventCode)>;

  virtual ~SerialPort() = default;

  // The port number, from 1 (default 1). Throws SerialError for a number below 1 or while the port
  // is open.
  virtual void SetCommPort(int portNumber) = 0;
  virtual int CommPort() const = 0;

  // The device to open for a port number instead of the one found by searching (an empty path
  // removes the override). Throws SerialError for a port number below 1.
  virtual void SetDevicePathOverride(int portNumber, std::filesystem::path devicePath) = 0;

  // "baud,parity,data,stop", such as "4800,n,8,1" (the default). While the port is closed the text
  // is only stored and checked by Open; while it is open it is applied at once, and a string that
  // does not parse or that the device refuses throws SerialError and leaves the old settings.
  virtual void SetSettings(std::string settings) = 0;
  virtual const std::string& Settings() const = 0;

  // Whether the DTR line is raised while the port is open (default off). Applied at once when open.
  virtual void SetDTREnable(bool enabled) = 0;
  virtual bool DTREnable() const = 0;

  // Opens the device for the port number with the settings and DTR state. Throws SerialError with
  // the reason on any failure (port number, missing device, device busy or not permitted, not a
  // terminal, settings that do not parse or that the device refuses, already open).
  virtual void Open() = 0;
  // Stops receiving and releases the device; input not yet read is dropped and no notification
  // arrives afterwards. Closing a closed port does nothing. Throws SerialError if the system
  // reports an error while releasing the device; the port is closed all the same.
  virtual void Close() = 0;
  virtual bool IsOpen() const = 0;

  // All input received and not yet read, as it came (any byte values); empty when there is none.
  virtual std::string ReadInput() = 0;

  // Sends the bytes before returning. Throws SerialError when the port is closed or the device
  // does not take them.
  virtual void Write(std::string_view bytes) = 0;

  // The code of the last event raised (kEventNone before the first).
  virtual int CommEvent() const = 0;

  // The receive notification; an empty handler stops notifications (input is still collected).
  virtual void SetOnComm(CommEventHandler handler) = 0;
};

}  // namespace orvo::host::serial
