#include "host/serial/TermiosSettings.hpp"

#include <string_view>

namespace orvo::host::serial {
namespace {

#ifdef CMSPAR
constexpr tcflag_t kStickParity = CMSPAR;
#else
constexpr tcflag_t kStickParity = 0;
#endif

constexpr tcflag_t kFramingFlags = CSIZE | PARENB | PARODD | CSTOPB | kStickParity;

std::string_view ParityName(tcflag_t controlFlags) {
  if ((controlFlags & PARENB) == 0) return "no parity";
  const bool odd = (controlFlags & PARODD) != 0;
  if ((controlFlags & kStickParity) != 0) return odd ? "mark parity" : "space parity";
  return odd ? "odd parity" : "even parity";
}

}  // namespace

std::optional<speed_t> TermiosSpeed(int baudRate) {
  switch (baudRate) {
    case 110:
      return B110;
    case 150:
      return B150;
    case 200:
      return B200;
    case 300:
      return B300;
    case 600:
      return B600;
    case 1200:
      return B1200;
    case 1800:
      return B1800;
    case 2400:
      return B2400;
    case 4800:
      return B4800;
    case 9600:
      return B9600;
    case 19200:
      return B19200;
    case 38400:
      return B38400;
    case 57600:
      return B57600;
    case 115200:
      return B115200;
    case 230400:
      return B230400;
#ifdef B460800
    case 460800:
      return B460800;
#endif
#ifdef B500000
    case 500000:
      return B500000;
#endif
#ifdef B576000
    case 576000:
      return B576000;
#endif
#ifdef B921600
    case 921600:
      return B921600;
#endif
    default:
      return std::nullopt;
  }
}

termios RawTermios(termios current, const SerialSettings& settings) {
  const std::optional<speed_t> speed = TermiosSpeed(settings.baudRate);
  if (!speed) {
    throw SerialError("baud rate " + std::to_string(settings.baudRate) +
                      " is not available on this system");
  }
  if (settings.stopBits == StopBits::OneAndHalf) {
    throw SerialError("1.5 stop bits cannot be set on this system; use 1 or 2");
  }
  if (settings.dataBits < 5 || settings.dataBits > 8) {
    throw SerialError(std::to_string(settings.dataBits) +
                      " data bits are not possible; use 5 to 8");
  }
  const bool stickParity = settings.parity == Parity::Mark || settings.parity == Parity::Space;
  if (stickParity && kStickParity == 0) {
    throw SerialError("mark and space parity cannot be set on this system; use n, e or o");
  }

  termios raw = current;
  raw.c_iflag &= ~static_cast<tcflag_t>(IGNBRK | BRKINT | PARMRK | ISTRIP | INLCR | IGNCR | ICRNL |
                                        IXON | IXOFF | IXANY | INPCK);
  raw.c_oflag &= ~static_cast<tcflag_t>(OPOST);
  raw.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHONL | ICANON | ISIG | IEXTEN);
  raw.c_cflag &= ~static_cast<tcflag_t>(kFramingFlags | CRTSCTS);
  // CLOCAL: a GPS receiver rarely drives carrier detect, and without it reads would hang up.
  raw.c_cflag |= CREAD | CLOCAL;
  // Return each read as soon as one byte is there; the event loop waits, never the read.
  raw.c_cc[VMIN] = 1;
  raw.c_cc[VTIME] = 0;

  static constexpr tcflag_t kSizeFlags[] = {CS5, CS6, CS7, CS8};
  raw.c_cflag |= kSizeFlags[settings.dataBits - 5];
  switch (settings.parity) {
    case Parity::None:
      break;
    case Parity::Even:
      raw.c_cflag |= PARENB;
      break;
    case Parity::Odd:
      raw.c_cflag |= PARENB | PARODD;
      break;
    // With stick parity PARODD chooses a parity bit that is always 1 (mark) or always 0 (space).
    case Parity::Mark:
      raw.c_cflag |= PARENB | PARODD | kStickParity;
      break;
    case Parity::Space:
      raw.c_cflag |= PARENB | kStickParity;
      break;
  }
  if (settings.stopBits == StopBits::Two) raw.c_cflag |= CSTOPB;

  cfsetispeed(&raw, *speed);
  cfsetospeed(&raw, *speed);
  return raw;
}

std::optional<std::string> RefusedSetting(const termios& wanted, const termios& actual) {
  if (cfgetospeed(&actual) != cfgetospeed(&wanted) || cfgetispeed(&actual) != cfgetispeed(&wanted))
    return "that baud rate";
  if ((actual.c_cflag & CSIZE) != (wanted.c_cflag & CSIZE)) {
    switch (wanted.c_cflag & CSIZE) {
      case CS5:
        return "5 data bits";
      case CS6:
        return "6 data bits";
      case CS7:
        return "7 data bits";
      default:
        return "8 data bits";
    }
  }
  const tcflag_t parityFlags = PARENB | PARODD | kStickParity;
  if ((actual.c_cflag & parityFlags) != (wanted.c_cflag & parityFlags))
    return std::string(ParityName(wanted.c_cflag));
  if ((actual.c_cflag & CSTOPB) != (wanted.c_cflag & CSTOPB))
    return (wanted.c_cflag & CSTOPB) != 0 ? "2 stop bits" : "1 stop bit";
  return std::nullopt;
}

}  // namespace orvo::host::serial
