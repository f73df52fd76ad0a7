#include "host/serial/AsioSerialPort.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <termios.h>

#include <boost/asio/post.hpp>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tests/PseudoTerminal.hpp"
#include "tests/TestSupport.hpp"

namespace orvo::host::serial {
namespace {

using ::testing::HasSubstr;

using orvo::testing::PseudoTerminal;

class AsioSerialPortTest : public ::testing::Test {
 protected:
  AsioSerialPortTest() { port_->SetDevicePathOverride(kPort, pty_.path); }

  bool RunUntil(const std::function<bool()>& done) { return orvo::testing::RunUntil(io_, done); }

  // Runs every handler queued so far, including the completions a close has cancelled.
  void RunQueuedHandlers() {
    bool reached = false;
    boost::asio::post(io_, [&reached] { reached = true; });
    ASSERT_TRUE(RunUntil([&reached] { return reached; }));
  }

  // Collects received bytes the way the main window does: read everything on each notification.
  void CollectInput() {
    port_->SetOnComm([this](int eventCode) {
      events_.push_back(eventCode);
      received_ += port_->ReadInput();
    });
  }

  std::string OpenError() {
    try {
      port_->Open();
    } catch (const SerialError& error) {
      return error.what();
    }
    return "opened";
  }

  static constexpr int kPort = 3;
  PseudoTerminal pty_;
  boost::asio::io_context io_;
  std::vector<std::string> diagnostics_;
  std::unique_ptr<AsioSerialPort> port_ = std::make_unique<AsioSerialPort>(
      io_, [this](std::string_view message) { diagnostics_.emplace_back(message); });
  std::string received_;
  std::vector<int> events_;
};

TEST_F(AsioSerialPortTest, OpensByOverrideSetsTheLineUpAndWrites) {
  port_->SetCommPort(kPort);
  port_->SetSettings("9600,N,8,2");
  port_->SetDTREnable(true);
  EXPECT_THAT([&] { port_->Write("ASTRAL\r\n"); },
              ::testing::ThrowsMessage<SerialError>(HasSubstr("serial port 3: it is not open")));
  ASSERT_NO_THROW(port_->Open());
  port_->Write("ASTRAL\r\n");
  std::string written;
  EXPECT_TRUE(RunUntil([&] { return (written += pty_.Received()).size() >= 8; }));
  EXPECT_EQ(written, "ASTRAL\r\n");
  EXPECT_TRUE(port_->IsOpen());
  EXPECT_EQ(port_->DevicePath(), pty_.path);
  EXPECT_EQ(port_->CommEvent(), kEventNone);
  // A pseudo-terminal has no modem-control lines: raising DTR is noted, not fatal.
  ASSERT_EQ(diagnostics_.size(), 1u);
  EXPECT_THAT(diagnostics_[0], HasSubstr(pty_.path + "): cannot raise DTR"));

  termios line = pty_.SlaveTermios();
  EXPECT_EQ(cfgetispeed(&line), B9600);
  EXPECT_EQ(line.c_cflag & (CSIZE | PARENB | CSTOPB), static_cast<tcflag_t>(CS8 | CSTOPB));
  EXPECT_EQ(line.c_lflag & (ICANON | ECHO | ISIG), 0u);
  EXPECT_EQ(line.c_iflag & (ICRNL | IXON), 0u);
  EXPECT_EQ(line.c_oflag & OPOST, 0u);

  // While open, new settings apply at once; a bad string leaves the old ones.
  port_->SetSettings("4800,n,8,1");
  line = pty_.SlaveTermios();
  EXPECT_EQ(cfgetospeed(&line), B4800);
  EXPECT_EQ(line.c_cflag & CSTOPB, 0u);
  EXPECT_THROW(port_->SetSettings("4800,x,8,1"), SerialError);
  EXPECT_EQ(port_->Settings(), "4800,n,8,1");
  EXPECT_THROW(port_->SetCommPort(1), SerialError);

  // Recent kernels keep a pseudo-terminal at 8 data bits without parity whatever is asked; older
  // ones store the framing. Either the line has exactly what was asked, or the port names the
  // setting the device refused and keeps the settings it had.
  try {
    port_->SetSettings("19200,m,7,1");
    line = pty_.SlaveTermios();
    EXPECT_EQ(line.c_cflag & (CSIZE | PARENB | PARODD | CMSPAR),
              static_cast<tcflag_t>(CS7 | PARENB | PARODD | CMSPAR));
  } catch (const SerialError& error) {
    EXPECT_THAT(error.what(), HasSubstr("does not support 7 data bits (settings \"19200,m,7,1\")"));
    EXPECT_EQ(port_->Settings(), "4800,n,8,1");
    line = pty_.SlaveTermios();
    EXPECT_EQ(cfgetospeed(&line), B4800);
  }
  EXPECT_TRUE(port_->IsOpen());
}

TEST_F(AsioSerialPortTest, DeliversExactBytesIncludingALargeBurst) {
  port_->SetCommPort(kPort);
  CollectInput();
  port_->Open();
  std::string sent = "$GPRMC,123519,A,4807.038,N,01131.000,E,022.4,084.4,230394,003.1,W*6A\r\n";
  for (int value = 0; value < 256; ++value) sent.push_back(static_cast<char>(value));
  constexpr std::size_t kBurstBytes = std::size_t{64} * 1024;
  for (std::size_t index = 0; sent.size() < kBurstBytes; ++index)
    sent += "$GPGGA," + std::to_string(index) + ",4807.038,N*47\r\n";
  // The master blocks once the slave's buffer is full, so the receiver runs beside the loop.
  std::thread receiver([&] { pty_.Send(sent); });
  const bool complete = RunUntil([&] { return received_.size() >= sent.size(); });
  receiver.join();
  ASSERT_TRUE(complete) << received_.size() << " of " << sent.size() << " bytes";
  EXPECT_EQ(received_, sent);
  EXPECT_THAT(events_, ::testing::Each(kEventReceive));
  EXPECT_EQ(port_->CommEvent(), kEventReceive);
  EXPECT_EQ(port_->ReadInput(), "");
}

TEST_F(AsioSerialPortTest, OpenFailuresSayWhy) {
  const orvo::testing::TempFolder temp;
  const std::filesystem::path& folder = temp.Path();
  std::ofstream(folder / "regular-file") << "not a tty";

  port_->SetCommPort(kPort);
  port_->SetDevicePathOverride(kPort, folder / "missing");
  EXPECT_THAT(OpenError(), HasSubstr("missing): the device does not exist"));
  port_->SetDevicePathOverride(kPort, folder / "regular-file");
  EXPECT_THAT(OpenError(), HasSubstr("not a serial device (not a terminal)"));
  port_->SetDevicePathOverride(kPort, folder);
  EXPECT_THAT(OpenError(), HasSubstr("it is a folder"));

  port_->SetDevicePathOverride(kPort, pty_.path);
  port_->SetSettings("abc,n,8,1");
  EXPECT_THAT(OpenError(), HasSubstr("cannot open serial port 3: serial settings \"abc,n,8,1\": "
                                     "baud rate \"abc\""));
  port_->SetSettings("4800,n,8,1.5");
  EXPECT_THAT(OpenError(), HasSubstr("1.5 stop bits cannot be set"));
  port_->SetSettings("4800,n,8,1");
  EXPECT_FALSE(port_->IsOpen());

  AsioSerialPort searching(io_, {}, DevicePathMap(folder));
  searching.SetCommPort(5);
  EXPECT_THAT([&] { searching.Open(); },
              ::testing::ThrowsMessage<SerialError>(HasSubstr("no device found")));
  EXPECT_THROW(port_->SetCommPort(0), SerialError);

  // A second opener of the same device is refused until the first lets go.
  AsioSerialPort second(io_);
  second.SetDevicePathOverride(1, pty_.path);
  port_->Open();
  EXPECT_THAT(OpenError(), HasSubstr("already open"));
  EXPECT_TRUE(port_->IsOpen());
  EXPECT_THAT([&] { second.Open(); },
              ::testing::ThrowsMessage<SerialError>(HasSubstr("in use by another program")));
  port_->Close();
  EXPECT_NO_THROW(second.Open());
}

TEST_F(AsioSerialPortTest, ClosesFromTheNotificationAndReopens) {
  port_->SetCommPort(kPort);
  int notifications = 0;
  port_->SetOnComm([&](int) {
    ++notifications;
    port_->Close();
  });
  port_->Open();
  pty_.Send("one\r\n");
  ASSERT_TRUE(RunUntil([&] { return notifications > 0; }));
  EXPECT_FALSE(port_->IsOpen());
  pty_.Send("two\r\n");
  RunQueuedHandlers();
  EXPECT_EQ(notifications, 1);
  EXPECT_THAT(diagnostics_, ::testing::IsEmpty()) << "the cancelled read must end quietly";
  EXPECT_EQ(port_->ReadInput(), "");
  EXPECT_THROW(port_->Write("x"), SerialError);
  EXPECT_NO_THROW(port_->Close());

  CollectInput();
  ASSERT_NO_THROW(port_->Open());
  pty_.Send("three\r\n");
  ASSERT_TRUE(RunUntil([&] { return received_.ends_with("three\r\n"); }));
}

TEST_F(AsioSerialPortTest, ADeviceThatGoesAwayStopsReceivingWithANote) {
  port_->SetCommPort(kPort);
  CollectInput();
  port_->Open();
  pty_.Send("last words\r\n");
  ASSERT_TRUE(RunUntil([&] { return received_ == "last words\r\n"; }));
  pty_.HangUp();
  ASSERT_TRUE(RunUntil([&] { return !diagnostics_.empty(); }));
  EXPECT_THAT(diagnostics_[0], HasSubstr("serial port 3 (" + pty_.path + "): receiving stopped: "));
  EXPECT_TRUE(port_->IsOpen());
  EXPECT_NO_THROW(port_->Close());
}

// Destroying the port with a read in flight, from outside or from its own notification, must
// leave nothing behind that a later completion could touch (the sanitizer build checks memory).
TEST_F(AsioSerialPortTest, DestroyingAnOpenPortWithAReadPendingIsSafe) {
  port_->SetCommPort(kPort);
  int notifications = 0;
  port_->SetOnComm([&](int) { ++notifications; });
  port_->Open();
  pty_.Send("arrives after the port is gone\r\n");
  port_.reset();
  RunQueuedHandlers();
  EXPECT_EQ(notifications, 0);

  port_ = std::make_unique<AsioSerialPort>(io_);
  port_->SetDevicePathOverride(1, pty_.path);
  port_->SetOnComm([&](int) {
    ++notifications;
    port_.reset();
  });
  port_->Open();
  pty_.Send("first\r\n");
  ASSERT_TRUE(RunUntil([&] { return notifications > 0; }));
  pty_.Send("second\r\n");
  RunQueuedHandlers();
  EXPECT_EQ(notifications, 1);
  EXPECT_EQ(port_, nullptr);
}

}  // namespace
}  // namespace orvo::host::serial
