#include "manual_page.h"

#include <fmt/format.h>

namespace {

constexpr const char* kDate = "2026-11-22";  // of the texts below

constexpr const char* kDescription = R"(.SH DESCRIPTION
.B capmgr
captures what is on the screen, through the same library that a conferencing client shares it with:
a whole monitor, a monitor less some windows, or one window alone.
.PP
Monitors are chosen by the indexes that
.B capmgr monitors
lists, windows by the numbers that
.B capmgr windows
lists, decimal or as 0x..., or by a click.
.PP
Options that belong to no command may stand before or behind the command's name.
.PP
Ctrl\-C brings a command to its proper end; a second one ends it at once.
What fails is told in one line on standard error that begins with
.BR capmgr: .
)";

constexpr const char* kEnd = R"(.SH EXIT STATUS
.TP
.B 0
Done.
.TP
.B 1
Well asked, but this machine cannot do it, or it failed on the way.
.TP
.B 2
The command line makes no sense.
.SH ENVIRONMENT
.TP
.B DISPLAY
The X server to capture.
.TP
.B NO_COLOR
When set and not empty, and
.B \-\-color
is not given, nothing is coloured.
.TP
.B TERM
When it is
.I dumb
or not set, nothing is coloured or redrawn in place.
.SH FILES
.TP
.I captures/
Where
.B capmgr run
writes its pictures, in the current directory, unless
.B \-\-out
names another place.
.PP
Pictures appear whole or not at all; a file of the same name is replaced.
A recording grows as it is made and can be played up to where it was broken off.
.SH EXAMPLES
A picture of the primary monitor at half its size:
.PP
.nf
.RS
capmgr shot \-\-size 960x540 screen.png
.RE
.fi
.PP
The same with one window left out, and of the window that is clicked:
.PP
.nf
.RS
capmgr shot \-\-exclude 12582924 screen.png
capmgr shot \-\-pick window.png
.RE
.fi
.PP
A recording of the primary monitor until Ctrl\-C, and what others will see:
.PP
.nf
.RS
capmgr record screen.mkv
capmgr view
.RE
.fi
.PP
What went on in a capture, from its trace:
.PP
.nf
.RS
capmgr \-\-trace 2 run \-\-seconds 3 2>trace.txt
capmgr trace\-view trace.txt
.RE
.fi
.PP
Completion in the shell at hand:
.PP
.nf
.RS
source <(capmgr completion bash)
capmgr completion fish | source
.RE
.fi
.SH SEE ALSO
.BR ffmpeg (1),
.BR xwininfo (1)
)";

/* Text that stands for itself. A dash is the one of the keyboard, so that examples can be copied.
 */
std::string escaped(const std::string& text) {
    std::string result;
    for (const char character : text) {
        if (character == '\\') {
            result += "\\e";
        } else if (character == '-') {
            result += "\\-";
        } else {
            result += character;
        }
    }
    const bool looksLikeRequest = result.starts_with('.') || result.starts_with('\'');
    return looksLikeRequest ? "\\&" + result : result;
}

std::string bold(const std::string& text) {
    return "\\fB" + escaped(text) + "\\fR";
}

std::string italic(const std::string& text) {
    return "\\fI" + escaped(text) + "\\fR";
}

std::string shown(const ValueDescription& value) {
    return value.kind == ValueKind::Choice ? escaped(value.name) : italic(value.name);
}

std::string heading(const OptionDescription& option) {
    std::string text;
    for (const std::string& name : option.names) {
        text += (text.empty() ? "" : ", ") + bold(name);
    }
    if (option.value.kind == ValueKind::None) {
        return text;
    }
    return text + (text.empty() ? "" : " ") + shown(option.value);
}

std::string paragraphs(const std::vector<OptionDescription>& options, bool withQuestions) {
    std::string text;
    for (const OptionDescription& option : options) {
        if (withQuestions || !isQuestion(option)) {
            text += ".TP\n" + heading(option) + "\n" + escaped(option.text) + "\n";
        }
    }
    return text;
}

std::string section(const CommandDescription& command) {
    std::string usage = "capmgr " + command.name;
    if (command.options.size() > 1) {  // beside --help
        usage += " [options]";
    }
    for (const OptionDescription& argument : command.arguments) {
        const std::string& name = argument.value.name;
        usage += argument.isRequired ? " " + name : " [" + name + "]";
    }
    return fmt::format(".SS \"{}\"\n{}\n", escaped(usage), escaped(command.text)) +
           paragraphs(command.arguments, false) + paragraphs(command.options, false);
}

}  // namespace

std::string manualPage(const ProgramDescription& description) {
    std::string text = fmt::format(".TH CAPMGR 1 \"{}\" \"capmgr {}\"\n", kDate, CAPMGR_VERSION);
    text +=
        ".SH NAME\ncapmgr \\- capture monitors and windows\n.SH SYNOPSIS\n.B capmgr\n"
        "[" +
        italic("options") + "] " + italic("command") + " [" + italic("arguments") + "]\n";
    text += kDescription;
    text += ".SH OPTIONS\n" + paragraphs(description.program.options, true) + ".SH COMMANDS\n";
    for (const CommandDescription& command : description.commands) {
        text += section(command);
    }
    return text + kEnd;
}
