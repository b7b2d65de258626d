/* What 'capmgr completion' prints, in the shells that it is for. */
#include <regex>

#include "capmgr_fixture.h"
#include "window_client.h"
#include "xvfb_server.h"

namespace {

using testing::Contains;
using testing::ContainsRegex;
using testing::HasSubstr;

// Loads the script $1 as a person would have it, types the line $2 and a tab, and shows the answer.
constexpr const char* kTypeInZsh = R"zsh(
zmodload zsh/zpty
zpty shell zsh -f -i
zpty -w shell "PS1=\$'\\x52EADY>' LISTMAX=10000 zle_bracketed_paste=()
stty columns 400 rows 400 -echo; unsetopt list_ambiguous; autoload -Uz compinit; compinit -u -D; source $1"
zpty -r -m shell unread '*READY>*READY>*'
zpty -w -n shell "$2"$'\t'
zpty -w -n shell $'\x15print DO""NE\n'
zpty -r -m shell answer '*DONE*'
print -r -- $answer
)zsh";

constexpr const char* kCompleteInBash = R"bash(
source "$1"
read -r -a COMP_WORDS <<<"$2"
[[ $2 == *' ' ]] && COMP_WORDS+=('')
COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
_capmgr "${COMP_WORDS[0]}" "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
printf '%s\n' "${COMPREPLY[@]}"
)bash";

constexpr const char* kCompleteInFish = R"fish(source $argv[1]; complete -C "$argv[2]")fish";

struct Shell {
    const char* name;
    std::vector<std::string> command;  // takes the completion script and the line
};

const Shell kShells[] = {
    {"bash", {"/bin/bash", "-c", kCompleteInBash, "bash"}},
    {"zsh", {"/usr/bin/zsh", "-f", "-c", kTypeInZsh, "zsh"}},
    {"fish", {"/usr/bin/fish", "-N", "-c", kCompleteInFish}},
};

std::vector<std::string> matchesIn(const std::string& text, const char* pattern) {
    const std::regex expression(pattern, std::regex::multiline);
    std::vector<std::string> matches;
    for (std::sregex_iterator match(text.begin(), text.end(), expression), end; match != end;
         ++match) {
        matches.push_back(match->str(1));
    }
    return matches;
}

class CompletionBase : public CapmgrTest {
  protected:
    CompletionBase() { setenv("HOME", file("").c_str(), 1); }

    std::string help(std::vector<std::string> command) const {
        command.emplace_back("--help");
        return runCapmgr("", command).output;
    }

    std::vector<std::string> commands() const {
        const std::string text = help({});
        return matchesIn(text.substr(text.find("Subcommands:")), "^  ([a-z][-a-z]*) ");
    }

    std::vector<std::string> options(const std::string& command) const {
        return matchesIn(help({command}), "^  (?:-[a-z],)?(--[-a-z]+)");
    }
};

class CompletionTest : public CompletionBase, public testing::WithParamInterface<Shell> {
  protected:
    CompletionTest() { makeFile("script", runCapmgr("", {"completion", GetParam().name}).output); }

    std::string answerTo(const std::string& line, const std::string& display = "") const {
        ChildSetup setup{GetParam().command, display, file(""), OutputKind::Pipe};
        setup.command.push_back(file("script").string());
        setup.command.push_back(line);
        const ChildResult result = runToEnd(setup);
        EXPECT_EQ(result.errors, "");
        return result.output;
    }
};

void PrintTo(const Shell& shell, std::ostream* stream) {
    *stream << shell.name;
}

TEST_P(CompletionTest, ScriptIsOneThatTheShellTakes) {
    const std::string shell = GetParam().command[0];
    const ChildResult result =
        runToEnd({{shell, "-n", file("script").string()}, "", file(""), OutputKind::Pipe});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
}

TEST_P(CompletionTest, OffersEveryCommand) {
    const std::string answer = answerTo("capmgr ");
    ASSERT_THAT(commands(), Contains("shot"));
    for (const std::string& command : commands()) {
        EXPECT_THAT(answer, ContainsRegex("(^|[^-a-z])" + command + "([^-a-z]|$)"));
    }
}

TEST_P(CompletionTest, OffersEveryOptionOfEveryCommand) {
    for (const std::string& command : commands()) {
        const std::string answer = answerTo("capmgr " + command + " --");
        ASSERT_THAT(options(command), Contains("--help"));
        for (const std::string& option : options(command)) {
            EXPECT_THAT(answer, HasSubstr(option)) << command;
        }
        EXPECT_THAT(answer, HasSubstr("--trace")) << command;
    }
}

TEST_P(CompletionTest, OffersWhatAnArgumentMayBe) {
    const std::string answer = answerTo("capmgr completion ");
    for (const char* const shell : {"bash", "zsh", "fish", "man"}) {
        EXPECT_THAT(answer, HasSubstr(shell));
    }
}

TEST_P(CompletionTest, OffersFilesForAFile) {
    makeFile("kept-one.png", "");
    makeFile("kept-two.png", "");
    const std::string answer = answerTo("capmgr shot kept");
    EXPECT_THAT(answer, HasSubstr("kept-one.png"));
    EXPECT_THAT(answer, HasSubstr("kept-two.png"));
}

TEST_P(CompletionTest, OffersTheWindowsOnScreen) {
    const XvfbServer server("640x480x24");
    const WindowClient client(server.display());
    const xcb_window_t one = client.open({.area = {0, 0, 50, 50}});
    const xcb_window_t other = client.open({.area = {60, 0, 50, 50}});
    client.sync();
    const std::string answer =
        answerTo(std::string(CAPMGR_PROGRAM) + " shot --window ", server.display());
    EXPECT_THAT(answer, HasSubstr(std::to_string(one)));
    EXPECT_THAT(answer, HasSubstr(std::to_string(other)));
}

INSTANTIATE_TEST_SUITE_P(EveryShell, CompletionTest, testing::ValuesIn(kShells),
                         [](const auto& test) { return std::string(test.param.name); });

using ManualPageTest = CompletionBase;

TEST_F(ManualPageTest, HoldsEveryOptionOfEveryCommand) {
    const std::string page = runCapmgr("", {"completion", "man"}).output;
    for (const std::string& command : commands()) {
        const std::string title =
            ".SS \"capmgr " + std::regex_replace(command, std::regex("-"), "\\-");
        ASSERT_THAT(page, HasSubstr(title));
        const std::size_t begin = page.find(title);
        const std::string section = page.substr(begin, page.find("\n.S", begin + 1) - begin);
        for (const std::string& option : options(command)) {
            const std::string name = std::regex_replace(option, std::regex("-"), "\\-");
            EXPECT_THAT(option == "--help" ? page : section, HasSubstr("\\fB" + name + "\\fR"));
        }
    }
}

TEST_F(ManualPageTest, IsFreeOfWarnings) {
    makeFile("capmgr.1", runCapmgr("", {"completion", "man"}).output);
    const ChildResult result =
        runToEnd({{"/usr/bin/mandoc", "-T", "lint", "-W", "warning", file("capmgr.1").string()},
                  "",
                  file(""),
                  OutputKind::Pipe});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output + result.errors, "");
}

}  // namespace
