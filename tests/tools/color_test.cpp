/* Where output has colours. */
#include "capmgr_fixture.h"
#include "xvfb_server.h"

namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class ColorTest : public CapmgrTest {
  protected:
    /* capmgr monitors with some of the environment set otherwise. */
    std::string monitors(OutputKind output, const std::vector<std::string>& environment,
                         const std::vector<std::string>& options = {}) const {
        ChildSetup setup = program("/usr/bin/env", server.display());
        setup.command.insert(setup.command.end(), environment.begin(), environment.end());
        setup.command.insert(setup.command.end(), {CAPMGR_PROGRAM, "monitors"});
        setup.command.insert(setup.command.end(), options.begin(), options.end());
        setup.output = output;
        return runToEnd(setup).output;
    }

    const XvfbServer server{"640x480x24"};
};

TEST_F(ColorTest, TerminalHasBoldTitlesAndTheMainMonitorInGreen) {
    const std::string text = monitors(OutputKind::Terminal, {});
    EXPECT_THAT(text, StartsWith("\x1b[1mIndex"));
    EXPECT_THAT(text, HasSubstr("\x1b[32m    0  "));
}

TEST_F(ColorTest, PipeHasNone) {
    EXPECT_THAT(monitors(OutputKind::Pipe, {}), Not(HasSubstr("\x1b")));
}

TEST_F(ColorTest, EnvironmentCanRefuseThem) {
    EXPECT_THAT(monitors(OutputKind::Terminal, {"NO_COLOR=1"}), Not(HasSubstr("\x1b")));
    EXPECT_THAT(monitors(OutputKind::Terminal, {"TERM=dumb"}), Not(HasSubstr("\x1b")));
    EXPECT_THAT(monitors(OutputKind::Terminal, {"NO_COLOR="}), HasSubstr("\x1b"));
}

TEST_F(ColorTest, OptionDecidesWhateverTheSurroundings) {
    EXPECT_THAT(monitors(OutputKind::Pipe, {"NO_COLOR=1"}, {"--color", "always"}),
                HasSubstr("\x1b"));
    EXPECT_THAT(monitors(OutputKind::Terminal, {}, {"--color=never"}), Not(HasSubstr("\x1b")));
}

TEST_F(ColorTest, ErrorsFollowTheirOwnStream) {
    EXPECT_THAT(runCapmgr("", {"monitors"}).errors, StartsWith("capmgr: "));
    EXPECT_THAT(runCapmgr("", {"--color", "always", "monitors"}).errors,
                StartsWith("\x1b[31mcapmgr:\x1b[0m "));
}

TEST_F(ColorTest, JsonHasNone) {
    EXPECT_THAT(monitors(OutputKind::Terminal, {}, {"--json", "--color", "always"}),
                Not(HasSubstr("\x1b")));
}

}  // namespace
