// orvo parse [FILE|-] [--now YYYY-MM-DDTHH:MM:SS] [--len-detect-repeat N] [--restore-crlf]
//            [--diagnostics]
// Runs NMEA text through the same framing and decoders as the receiver and prints, for every
// sentence cut from the buffer, one JSON line with the sentence and the fix after it.
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "app/Commands.hpp"

#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>

#include "gps/FixJson.hpp"
#include "gps/NmeaIntake.hpp"
#include "gps/NmeaParser.hpp"
#include "gps/ReceiverSession.hpp"
#include "host/platform/Clock.hpp"
#include "host/platform/DateValue.hpp"
#include "host/platform/Numeric.hpp"
#include "host/serial/AsioSerialPort.hpp"

namespace orvo::app {
namespace {

using host::platform::DateValue;

constexpr std::string_view kUsage =
    "usage: orvo parse [FILE|-] [--now YYYY-MM-DDTHH:MM:SS] [--len-detect-repeat N]\n"
    "                  [--restore-crlf] [--diagnostics]\n"
    "       orvo parse --serial DEVICE [--baud \"4800,n,8,1\"] [--dtr] [--count N]\n"
    "Prints one JSON line per NMEA sentence: {\"sentence\": \"...\", \"fix\": {...}}.\n"
    "  --now                the present time a reset of the fix takes (default: the clock)\n"
    "  --len-detect-repeat  buffer length above which the backlog is skipped (default for\n"
    "                       files and standard input: never, so every sentence is shown)\n"
    "  --restore-crlf       read a bare LF as CR LF (captures stored with Unix line ends)\n"
    "  --diagnostics        report sentences the decoders gave up on, on standard error\n";

// A receiver's stream is read in blocks of this size and fed in chunks no larger: a serial
// driver or a capture reader hands over text in pieces of about this order.
constexpr std::size_t kChunkBytes = 4096;

struct ParseOptions {
  std::string input = "-";
  std::optional<DateValue> now;
  std::optional<std::int32_t> lenDetectRepeat;
  bool restoreCrLf = false;
  bool diagnostics = false;
  std::optional<std::string> serialDevice;
  std::string baud = "4800,n,8,1";
  bool dtr = false;
  std::optional<std::int32_t> count;
  bool serialOnlyOption = false;  // --baud, --dtr or --count given
};

class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

std::int32_t ParseWholeNumber(const std::string& option, const std::string& text) {
  std::int32_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) {
    throw UsageError(option + " needs a whole number, not \"" + text + "\"");
  }
  return value;
}

ParseOptions ReadOptions(const Arguments& arguments) {
  ParseOptions options;
  bool inputGiven = false;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    auto value = [&]() -> const std::string& {
      if (i + 1 >= arguments.size()) {
        throw UsageError(argument + " needs a value");
      }
      return arguments[++i];
    };
    if (argument == "--now") {
      try {
        options.now = DateValue::ParseIso(value());
      } catch (const host::platform::ConversionError& error) {
        throw UsageError(std::string("--now: ") + error.what());
      }
    } else if (argument == "--len-detect-repeat") {
      options.lenDetectRepeat = ParseWholeNumber(argument, value());
    } else if (argument == "--restore-crlf") {
      options.restoreCrLf = true;
    } else if (argument == "--diagnostics") {
      options.diagnostics = true;
    } else if (argument == "--serial") {
      options.serialDevice = value();
    } else if (argument == "--baud") {
      options.baud = value();
      options.serialOnlyOption = true;
    } else if (argument == "--count") {
      options.count = ParseWholeNumber(argument, value());
      options.serialOnlyOption = true;
    } else if (argument == "--dtr") {
      options.dtr = true;
      options.serialOnlyOption = true;
    } else if (argument.size() > 1 && argument.starts_with("-")) {
      throw UsageError("unknown option " + argument);
    } else if (!inputGiven) {
      options.input = argument;
      inputGiven = true;
    } else {
      throw UsageError("only one input file, not also \"" + argument + "\"");
    }
  }
  if (options.serialOnlyOption && !options.serialDevice) {
    throw UsageError("--baud, --dtr and --count need --serial");
  }
  return options;
}

// Prints every sentence with the fix after it. The refresh counts as automatic (with nothing to
// refresh), so NewFix shows true exactly on the sentences that brought a new position.
class SentencePrinter final : public gps::IntakeListener {
 public:
  SentencePrinter(std::ostream& out, const gps::NmeaParser& parser) : out_(out), parser_(parser) {}
  void OnSentence(std::string_view sentence) override {
    gps::WriteSentenceRecord(out_, sentence, parser_.Fix());
  }
  bool IsRefreshAutomatic() const override { return true; }

 private:
  std::ostream& out_;
  const gps::NmeaParser& parser_;
};

// Hands each sentence of a live receiver to `print` as it comes.
class LivePrinter final : public gps::IntakeListener {
 public:
  explicit LivePrinter(std::function<void(std::string_view)> print) : print_(std::move(print)) {}
  void OnSentence(std::string_view sentence) override { print_(sentence); }
  bool IsRefreshAutomatic() const override { return true; }

 private:
  std::function<void(std::string_view)> print_;
};

// Puts back the CR before every LF that lacks one, also across block boundaries.
class LineEndRestorer {
 public:
  std::string Apply(std::string_view block) {
    std::string restored;
    restored.reserve(block.size() + block.size() / 16);
    for (const char c : block) {
      if (c == '\n' && !previousWasCr_) {
        restored.push_back('\r');
      }
      restored.push_back(c);
      previousWasCr_ = c == '\r';
    }
    return restored;
  }

 private:
  bool previousWasCr_ = false;
};

// Feeds text in chunks of at most kChunkBytes, and after each chunk dispatches whatever
// complete sentences it left in the buffer (one per ProcessData call).
void Feed(gps::NmeaIntake& intake, std::string_view text) {
  while (!text.empty()) {
    const std::string_view chunk = text.substr(0, kChunkBytes);
    text.remove_prefix(chunk.size());
    intake.ProcessData(chunk);
    while (intake.HasCompleteSentence()) {
      intake.ProcessData("");
    }
  }
}

std::string ErrorText(int error) {
  return std::strerror(error);
}

int RunOnStream(const ParseOptions& options) {
  const bool fromStandardInput = options.input == "-";
  std::FILE* file = fromStandardInput ? stdin : std::fopen(options.input.c_str(), "rb");
  if (file == nullptr) {
    std::cerr << "orvo parse: cannot open " << options.input << ": " << ErrorText(errno) << '\n';
    return 1;
  }
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> closer(fromStandardInput ? nullptr : file,
                                                               std::fclose);

  host::platform::LinuxTimeZoneSource timeZone;
  host::platform::LinuxSystemClock realClock;
  host::platform::FixedClock fixedClock(options.now.value_or(DateValue()));
  host::platform::SystemClock& clock =
      options.now ? static_cast<host::platform::SystemClock&>(fixedClock) : realClock;

  gps::NmeaParser parser(timeZone, clock);
  if (options.diagnostics) {
    parser.SetDiagnosticSink(
        [](std::string_view message) { std::cerr << "orvo parse: " << message << '\n'; });
  }
  SentencePrinter printer(std::cout, parser);
  gps::NmeaIntake intake(parser, &printer, [](std::string_view message) {
    std::cerr << "orvo parse: " << message << '\n';
  });
  // Every sentence of a file is wanted, and a file arrives far faster than the backlog skip
  // expects, so the skip is off unless asked for.
  intake.SetLenDetectRepeat(options.lenDetectRepeat.value_or(INT32_MAX));

  LineEndRestorer restorer;
  std::string block(kChunkBytes, '\0');
  int readError = 0;
  std::uint64_t bytesRead = 0;
  while (true) {
    const std::size_t read = std::fread(block.data(), 1, block.size(), file);
    bytesRead += read;
    if (read < block.size() && std::ferror(file)) {
      readError = errno;
    }
    if (read > 0) {
      const std::string_view text(block.data(), read);
      if (options.restoreCrLf) {
        Feed(intake, restorer.Apply(text));
      } else {
        Feed(intake, text);
      }
    }
    if (read < block.size()) {
      break;
    }
  }
  if (readError != 0) {
    std::cerr << "orvo parse: cannot read "
              << (fromStandardInput ? "standard input" : options.input) << ": "
              << ErrorText(readError) << '\n';
    return 1;
  }
  std::cout.flush();
  if (!std::cout) {
    std::cerr << "orvo parse: cannot write the output\n";
    return 1;
  }
  if (options.diagnostics) {
    std::cerr << "orvo parse: " << intake.Counters().sentencesCut << " sentences, "
              << parser.FailureCount() << " given up on by the decoders\n";
  }
  // Input that is not NMEA at all is worth a word and a failing exit, so a script notices.
  const std::string name = fromStandardInput ? "standard input" : options.input;
  if (bytesRead > 0 && intake.Counters().sentencesCut == 0) {
    std::cerr << "orvo parse: no NMEA sentence in " << name << " (" << bytesRead
              << " bytes read); a sentence starts with \"$\" and ends with CR LF"
              << (options.restoreCrLf ? "" : " (for captures stored with LF only: --restore-crlf)")
              << '\n';
    return 1;
  }
  if (intake.Counters().bufferOverflows > 0) {
    std::cerr << "orvo parse: " << name << " holds text that runs over "
              << gps::NmeaIntake::kMaxBufferBytes << " bytes without a line end; it was dropped\n";
    return 1;
  }
  return 0;
}

// A live receiver, started exactly as the main window's "Start GPS" starts it, printing every
// sentence as it arrives until --count sentences came or the program is interrupted.
int RunOnSerial(const ParseOptions& options) {
  boost::asio::io_context io;
  const auto report = [](std::string_view message) {
    std::cerr << "orvo parse: " << message << '\n';
  };
  host::platform::LinuxSystemClock clock;
  host::platform::LinuxTimeZoneSource timeZone;
  host::serial::AsioSerialPort port(io, report);
  constexpr int kPortNumber = 1;
  port.SetDevicePathOverride(kPortNumber, *options.serialDevice);

  std::int64_t printed = 0;
  std::optional<gps::ReceiverSession> session;
  LivePrinter printer([&](std::string_view sentence) {
    gps::WriteSentenceRecord(std::cout, sentence, session->Fix());
    std::cout.flush();
    if (options.count && ++printed >= *options.count) io.stop();
  });
  session.emplace(port, timeZone, clock, &printer, report);
  session->Intake().SetLenDetectRepeat(options.lenDetectRepeat.value_or(INT32_MAX));
  // After the session has taken its one sentence of a chunk, the rest are printed at once too.
  port.SetOnComm([&](int eventCode) {
    session->comNMEA_OnComm(eventCode);
    while (!io.stopped() && session->Intake().HasCompleteSentence()) session->ProcessData("");
  });
  const auto failure =
      session->Start(gps::ReceiverSettings{std::to_string(kPortNumber), options.baud, options.dtr});
  if (failure) {
    std::cerr << "orvo parse: " << *options.serialDevice << ": Can't open comm port: " << *failure
              << '\n';
    return 1;
  }
  boost::asio::signal_set signals(io, SIGINT, SIGTERM);
  signals.async_wait([&io](const boost::system::error_code&, int) { io.stop(); });
  io.run();
  return 0;
}

}  // namespace

int RunParse(const Arguments& arguments) {
  for (const std::string& argument : arguments) {
    if (argument == "--help" || argument == "-h") {
      std::cout << kUsage;
      return 0;
    }
  }
  ParseOptions options;
  try {
    options = ReadOptions(arguments);
  } catch (const UsageError& error) {
    std::cerr << "orvo parse: " << error.what() << '\n' << kUsage;
    return 2;
  }
  return options.serialDevice ? RunOnSerial(options) : RunOnStream(options);
}

}  // namespace orvo::app
