#include "support/Test.h"
#include "tools/Tool.h"

namespace {

using ProgramTool = Tool;

TEST_F(ProgramTool, ErrorsAreOneLineAndLeaveNothing) {
  Good("simulate run.wav --profile 0:600,0.2:600 --missing 0");
  Good("speed run.wav --curve ok.usig --pulses-per-rev 60");
  Write("noise.bin", std::string("\0\1\2\3", 4));
  Write("empty", "");
  const std::string out = " --csv new.csv --curve new.usig --plot new.svg";
  const Cases<std::string, int, const char*> cases = {
      {"", 2, "a subcommand is needed; see umlauf --help"},
      {"foo", 2, "\"foo\" is no subcommand of umlauf, the nearest one is"},
      {"spede", 2, "the nearest one is speed; see umlauf --help"},
      {"settings lst", 2, "the nearest one is list; see umlauf settings --help"},
      {"speed", 2, "recording is required; see umlauf speed --help"},
      {"speed run.wav --bogus", 2, "--bogus"},
      {"speed run.wav --edges up" + out, 2,
       "up is not one of rising, falling or both; see umlauf speed --help"},
      {"speed run.wav --divider 0" + out, 2, "0 is no whole number from 1 to 1000000"},
      {"speed run.wav --divider 2.5" + out, 2, "whole number"},
      {"speed missing.wav" + out, 1, "no such file"},
      {"speed ." + out, 1, "folder"},
      {"speed noise.bin" + out, 1, "--raw"},
      {"speed empty" + out, 1, "is empty"},
      {"speed run.wav --channel 2" + out, 1, "channel 1; choose one with --channel"},
      {"speed run.wav --channel 0" + out, 2, "numbers from 1 to 65535"},
      {"speed run.csv --column 3" + out, 1,
       "column 2, also by the name from its header; choose one with --column"},
      {"speed run.csv --column speed" + out, 1, "name from its header"},
      {"speed run.wav --upper 7 --lower 6" + out, 1, "no pulses found"},
      {"speed run.wav --upper 1 --lower 2" + out, 2, "--lower"},
      {"speed run.wav --raw f32" + out, 2, "--rate"},
      {"speed run.wav --rate 5" + out, 2, "--rate"},
      {"speed run.wav --channels 2" + out, 2, "--raw"},
      {"speed run.wav --column 2" + out, 2, "--column"},
      {"speed run.csv --channel 1" + out, 2, "--channel"},
      {"speed run.wav --settings '[0.2|0.8|2]'" + out, 2, "eleven"},
      {"speed run.wav --settings '[0|1|1|0|0|0|0|0|0|0|0]' --ttl" + out, 2, "--settings"},
      {"speed run.wav --gap 3" + out, 2, "--pulses-per-rev"},
      {"speed run.wav --gap wide --pulses-per-rev 60" + out, 2, "--gap"},
      {"speed run.wav --gap 3 --pulses-per-rev 60 --edges both" + out, 2, "--edges"},
      {"speed run.wav --spike-filter 0.2,3,4,5" + out, 2, "THRESHOLD"},
      {"speed run.wav --pulses-per-rev nan" + out, 2, "--pulses-per-rev"},
      {"speed run.wav --csv - --json", 2, "standard output"},
      {"speed run.wav --csv run.wav", 2, "overwrite"},
      {"speed run.wav --csv new.csv --curve new.csv", 2, "same file"},
      {"speed run.wav --csv new.csv --plot new.jpg", 2, ".svg or .png"},
      {"speed run.wav --csv new.csv --plot nodir/new.svg", 1, "nodir"},
      {"speed run.wav --csv new.csv --truth noise.bin", 1, "noise.bin"},
      {"speed run.wav --csv new.csv --tolerance 1", 2, "--truth"},
      {"info missing.usig", 1, "missing.usig"},
      {"info noise.bin", 1, "known format"},
      {"speed run.wav --from 2 --to 1" + out, 2, "--from"},
      {"speed run.wav --from 5" + out, 1, "nothing of it lies"},
      {"export run.wav -o new.csv", 1, "no signal file"},
      {"import run.csv -o new.usig --column speed", 1, "name from its header"},
      {"import run.csv -o new.usig --as line", 2, "curve, pairs or array"},
      {"downsample run.wav new.wav --ratio 65537", 2, "65536"},
      {"plot ok.usig -o new.pdf", 2, ".svg or .png"},
      {"plot noise.bin -o new.svg", 1, "known format"},
      {"simulate new.wav --profile 0:600", 2, "two points"},
      {"simulate new.wav --profile 0:600,1:x", 2, "1:x"},
      {"simulate new.wav --profile 0:0,1:0", 2, "never turns"},
      {"simulate new.wav --rate 1000", 2, "--rate"},
      {"simulate new.wav --teeth 2", 2, "--missing"},
      {"simulate new.wav --missing 2@60", 2, "--missing"},
      {"simulate new.wav --missing 2,1@", 2, "COUNT"},
      {"simulate new.wav --teeth 3 --missing 3", 2, "no tooth"},
      {"simulate new.wav --clip 2,1", 2, "--clip"},
      {"simulate new.wav --jitter nan", 2, "--jitter"},
      {"simulate new.csv", 2, "--truth"},
      {"simulate new.dat", 2, ".wav"},
      {"simulate new.wav --encoder 1", 2, ".u32"},
      {"simulate new.u32 --encoder 1 --rate 44100", 2, "no clock"},
      {"simulate new.u32 --encoder 3 --missing 1", 2, "without gaps"},
      {"downsample run.wav new.wav", 2, "--ratio"},
      {"downsample run.wav new.wav --rate 60000", 2, "only lowered"},
      {"downsample run.wav new.wav --ratio nan", 2, "no number"},
      {"downsample run.wav new.wav --ratio 2 --method foo", 2,
       "filter, linear, mean, max, minmax, sum or steep"},
      {"downsample run.wav new.mp3 --ratio 2", 2, ".flac"},
      {"downsample run.wav run.wav --ratio 2", 2, "overwrite"},
      {"downsample run.wav new.flac --ratio 2 --gain 9", 1, "--gain"},
      {"simulate new.flac --duration 1", 1, "--amplitude"},
      {"downsample noise.bin new.wav --ratio 2 --raw f32", 2, "--input-rate"},
      {"can noise.bin --rate 5 --csv new.csv", 2, "--raw u32"},
      {"can noise.bin --raw u32 --csv new.csv", 2, "--rate"},
      {"can noise.bin --raw u32 --rate 5 --csv new.csv --plot new.svg", 1, "no messages found"},
      {"can empty --raw u32 --rate 5", 1, "no samples"},
      {"can noise.bin --raw u32 --rate 5 --channel2 2", 1, "--channel2"},
      {"can noise.bin --raw u32 --rate 5 --kcd run.csv", 1, "KCD"},
      {"can noise.bin --raw u32 --rate 5 --signal x", 2, "--kcd"},
      {"encoder noise.bin --raw u32 --rate 50000", 2, "--mode"},
      {"encoder noise.bin --raw f32 --rate 50000 --mode 1", 2, "--raw u32"},
      {"encoder noise.bin --raw u32 --rate 50000 --mode 1 --csv new.csv", 1, "no pulses found"},
      {"encoder noise.bin --raw u32 --rate 44100 --mode 1 --csv new.csv", 1, "one of 12000, 12500"},
      {"encoder noise.bin --raw u32 --rate 50000 --mode 2 --low-word", 2, "--low-word"},
      {"encoder noise.bin --raw u32 --rate 50000 --mode 2 --divider 2", 2, "--divider"},
      {"encoder noise.bin --raw u32 --rate 50000 --mode 1 --pulses-per-rev 1.5", 2, "whole number"},
      {"unit furlong", 1, "furlong"},
      {"unit rpm --to V", 1, "cannot be converted"},
      {"unit 'dB(V)' --to V", 1, "cannot be converted"},
      {"unit '10^ V' --to V", 1, "10^ V cannot be converted"},
      {"unit 'fm^30' --to 'Tm^30'", 1, "beyond the range of numbers"},
  };
  for (const auto& [arguments, code, message] : cases) Bad(arguments, code, message);
}

TEST_F(ProgramTool, OutputThatCannotBeWrittenIsAnError) {
  Good("simulate run.wav --profile 0:600,0.2:600 --missing 0");
  Good("speed run.wav --curve ok.usig");
  Good("settings set a 1 --file sea.db");
  for (const std::string command :
       {"--version", "speed --help", "speed run.wav", "speed run.wav --json", "speed run.wav --csv -",
        "unit rpm", "info ok.usig", "settings list --file sea.db"}) {
    for (const char* nowhere : {" >/dev/full", " >&-"}) {
      const Result result = Run(command + nowhere);
      EXPECT_EQ(result.code, 1) << command << nowhere;
      EXPECT_THAT(result.err, HasSubstr("cannot write ")) << command;
    }
  }
  // A file that is opened while standard output is closed must not receive its text.
  const std::string pulses = Good("speed run.wav --csv -");
  EXPECT_ALL(Run("speed run.wav --csv pulses.csv >&-").code == 1, Text("pulses.csv") == pulses,
             Run("speed run.wav <&- 2>&-").code == 0);
}

TEST_F(ProgramTool, FullDeviceIsTold) {
  Good("simulate run.wav --profile 0:600,0.2:600 --missing 0");
  Bad("speed run.wav --csv /dev/full", 1, "/dev/full");
}

TEST_F(ProgramTool, ControlCharactersDoNotReachTheTerminal) {
  const Result result = Run("info $(printf 'a\\033[31mb\\302\\233c\\177')");
  EXPECT_THAT(result.err, HasSubstr("a\\u001b[31mb\\u009bc\\u007f"));
}

TEST_F(ProgramTool, MissingGnuplotLeavesNothing) {
  Good("simulate run.wav --profile 0:600,0.2:600");
  const std::set<std::string> before = Files();
  // Under Wine the search path has a name of its own.
  const Result missing =
      Shell("PATH=/nowhere WINEPATH= " + Program() + " speed run.wav --csv new.csv --plot new.svg");
  EXPECT_EQ(missing.code, 1);
  EXPECT_THAT(missing.err, HasSubstr("gnuplot"));
  EXPECT_EQ(Files(), before);
}

TEST_F(ProgramTool, TerminationLeavesNothing) {
  // Hours of recording: it is still at work when its temporary file is there.
  const Result stopped =
      Shell(Program() +
            " simulate long.wav --duration 10000 & process=$!;"
            "until ls -A | grep -q part; do :; done; kill -TERM $process; wait $process; test $? -eq 143");
  EXPECT_EQ(stopped.code, 0) << stopped.err;
  EXPECT_EQ(Files(), std::set<std::string>());
}

TEST_F(ProgramTool, ToleranceDecidesTheExitCodeAndKeepsTheOutput) {
  Good("simulate run.wav --profile 0:600,0.5:900");
  const std::string speed =
      "speed run.wav --pulses-per-rev 60 --gap auto --truth run.csv --csv p.csv --tolerance ";
  EXPECT_THAT(Good(speed + "5"), HasSubstr("deviation"));
  Write("run.csv", "0 700\n1 1200\n");
  const Result result = Run(speed + "5");
  EXPECT_EQ(result.code, 1);
  EXPECT_THAT(result.err, HasSubstr("tolerance of 5 %"));
  EXPECT_TRUE(Files().contains("p.csv"));
}

TEST_F(ProgramTool, CurveIsASignalFile) {
  Good("simulate run.wav --profile 0:600,0.5:1600 --noise 0 --jitter 0");
  Good("speed run.wav --pulses-per-rev 60 --gap auto --curve speed.usig --curve-step 0.02");
  const std::string bytes = Text("speed.usig");
  const std::string info = Good("info speed.usig");
  EXPECT_THAT(info,
              HasAll({"equidistant curve (102)", "name        run.wav\n", "x unit      s\n",
                      "y unit      rpm\n", "samples     24\n", "step        0.02\n", "compression none\n"}));
  // The samples are means over 20 ms of a straight line: sample k lies on it, in the middle of its step.
  float xMin = 0, sample = 0;
  std::memcpy(&xMin, bytes.data() + bytes.size() - 24 * 4 - 16, 4);
  for (std::size_t k = 0; k < 24; ++k) {
    std::memcpy(&sample, bytes.data() + bytes.size() - (24 - k) * 4, 4);
    EXPECT_NEAR(sample, 600 + 2000 * (xMin + 0.02f * static_cast<float>(k)), 4) << k;
  }

  Good("plot speed.usig -o speed.svg");
  Good("plot speed.usig -o speed.png");
  Good("speed run.wav --pulses-per-rev 60 --gap auto --truth run.csv --plot both.svg");
  EXPECT_ALL(Text("speed.svg").find("rpm") != std::string::npos, Text("speed.png").starts_with("\x89PNG"));
  EXPECT_THAT(Text("both.svg"), HasAll({"speed in rpm", "time in s", "truth", "each pulse", "gap corrected",
                                        "deviation in %"}));

  // The middle of a header, of a name, of the samples; a wrong version; too long.
  for (const std::size_t n : {std::size_t{20}, std::size_t{60}, bytes.size() - 1}) {
    Write("cut.usig", bytes.substr(0, n));
    Bad("info cut.usig", 1, "cut.usig");
  }
  Write("cut.usig", bytes + "x");
  Bad("info cut.usig", 1, "cut.usig");
}

TEST_F(ProgramTool, UnitsAreExplainedAsTheyAreHeld) {
  const Cases<const char*, const char*> cases = {
      {"rpm", "standard unit Hz, 1 rpm = 0.01666667 Hz\n"},
      {"UpM", "prints as     rpm\n"},
      {"'(m/s)^2'", "power         2\n"},
      {"'dB(Pa)'", "level in dB"},
      {"'10^ V'", "logarithm to base 10"},
      {"kHz", "prefix        10^3\n"},
      {"kHz", "prints as     kHz\n"},
      {"kHz --literal", "prints as     GHz\n"},
      {"kHz --literal", "note          "},
      {"'dB(kPa)'", "prefix        10^3\n"},
      {"pu", "prints as     pu\n"},
      {"'10^ V'", "prints as     10^ V\n"},
      {"-- -", "standard unit none\n"},
      {"rpm --to Hz --value 3000", "conversion    3000 rpm = 50 Hz\n"},
      {"km/h --to m/s --value -36", "conversion    -36 km/h = -10 m/s\n"},
      {"g --to 'm/s²'", "conversion    1 g = 9.80665 m/s²\n"},
      {"kHz --to rpm --value 2", "conversion    2 kHz = 120000 rpm\n"},
      {"kHz --to rpm --value 2 --literal", "conversion    2 GHz = 1.2e+11 rpm\n"},
      {"N --to mN", "conversion    1 N = 1000 mN\n"},
      {"km --to m", "conversion    1 km = 1000 m\n"},
      {"mm --to m --value 5", "conversion    5 mm = 0.005 m\n"},
      {"'km^2' --to 'm^2'", "conversion    1 km^2 = 1000000 m²\n"},
      {"'(mm)²' --to 'm²'", "conversion    1 (mm)² = 1e-06 m²\n"},
      {"'mV^(-1)' --to 'V^(-1)'", "conversion    1 mV^(-1) = 1000 V^(-1)\n"},
      {"µs --to fs", "conversion    1 µs = 1e+09 fs\n"},
      {"% --to pu --value 50", "conversion    50 % = 0.5 pu\n"},
  };
  for (const auto& [arguments, line] : cases) {
    const std::string out = Good(std::string("unit ") + arguments);
    EXPECT_THAT(out, HasSubstr(line)) << arguments;
  }
}

}  // namespace
