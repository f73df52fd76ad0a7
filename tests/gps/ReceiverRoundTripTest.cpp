// The main window's receiver over a real pseudo-terminal: what the receiver sends reaches the
// fix, an "ASTRAL" receiver is answered, and a port that cannot open is reported.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <thread>

#include <boost/asio/io_context.hpp>

#include "addin/frmAddIn.hpp"
#include "addin/frmVerbose.hpp"
#include "host/serial/AsioSerialPort.hpp"
#include "host/ui/Desktop.hpp"
#include "tests/BuildPaths.hpp"
#include "tests/PseudoTerminal.hpp"
#include "tests/TestSupport.hpp"

namespace orvo::gps {
namespace {

using orvo::testing::PseudoTerminal;

struct ReceiverRoundTrip : ::testing::Test {
  boost::asio::io_context io;
  host::ui::AsioScheduler scheduler{io};
  host::ui::ScriptedDialogs dialogs;
  host::ui::Desktop desktop{scheduler, dialogs};
  orvo::testing::TempFolder folder;
  settings::SettingsStore store{folder.Path() / "ORVO.ini"};
  addin::frmVerbose verbose{desktop, folder.Path() / "ORVO.log"};
  host::platform::FixedClock clock{host::platform::DateValue::FromCivil({2026, 1, 1, 0, 0, 0})};
  host::platform::FixedTimeZone timeZone{0, false};
  host::serial::AsioSerialPort port{io};
  tracking::ModelDeclination declination;
  addin::frmAddIn window{{desktop, store, verbose, clock, timeZone, port, declination}};
  PseudoTerminal terminal;
};

TEST_F(ReceiverRoundTrip, SentencesArriveAndAnAstralReceiverIsAnswered) {
  port.SetDevicePathOverride(3, terminal.path);
  window.receiver.cboPort.SetText("3");
  window.receiver.cmdGPSAction.Press();
  ASSERT_TRUE(window.GpsRunning()) << verbose.txtLog.Text();

  ASSERT_TRUE(terminal.Send("$GPGGA,120000,4344.3820,N,00725.4500,E,1,07,1.1,42.0,M,,M,,*00\r\n"));
  ASSERT_TRUE(orvo::testing::RunUntil(io, [&] { return window.Fix().FixMode == 3; }));
  EXPECT_NEAR(window.Fix().Latitude, 43.73970, 1e-5);
  EXPECT_NEAR(window.Fix().Longitude, 7.42417, 1e-5);
  EXPECT_DOUBLE_EQ(window.Fix().Elevation, 42.0);

  ASSERT_TRUE(terminal.Send("ASTRAL GPS v1.0 "));
  std::string answer;
  ASSERT_TRUE(orvo::testing::RunUntil(
      io, [&] { return (answer += terminal.Received()).find("\r\n") != std::string::npos; }));
  EXPECT_EQ(answer, "ASTRAL\r\n");

  window.receiver.cmdGPSAction.Press();
  EXPECT_FALSE(window.GpsRunning());
  EXPECT_FALSE(port.IsOpen());
  EXPECT_TRUE(dialogs.Prompts().empty());
}

// `orvo parse --serial` starts the receiver the same way and prints what arrives.
TEST_F(ReceiverRoundTrip, ParseCommandReadsASerialDevice) {
  const std::string command =
      std::string(ORVO_BINARY) + " parse --serial " + terminal.path + " --count 2 2>&1";
  std::FILE* output = popen(command.c_str(), "r");
  ASSERT_NE(output, nullptr);
  // The program opens the device and flushes stale input; resend until it has taken two.
  std::string text;
  std::thread reader([&] {
    char buffer[4096];
    for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, output)) > 0;)
      text.append(buffer, n);
  });
  for (int attempt = 0; attempt < 100 && text.find("$GPGSA") == std::string::npos; ++attempt) {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    terminal.Send(
        "$GPRMC,120000,A,4344.3820,N,00725.4500,E,12.5,90.0,211126,,*00\r\n"
        "$GPGSA,A,3,01,02,,,,,,,,,,,2.0,1.5,1.2*00\r\n");
  }
  reader.join();
  EXPECT_EQ(pclose(output), 0) << text;
  EXPECT_NE(text.find("\"SpeedKnots\":12.5"), std::string::npos) << text;
  EXPECT_NE(text.find("\"VDOP\":1.2"), std::string::npos) << text;

  const auto failing = orvo::testing::RunOrvo({"parse", "--serial", "/nonexistent/tty"});
  EXPECT_NE(failing.exitCode, 0);
  EXPECT_NE((failing.out + failing.err).find("Can't open comm port"), std::string::npos);
}

}  // namespace
}  // namespace orvo::gps
