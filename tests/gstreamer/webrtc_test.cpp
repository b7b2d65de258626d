/* The example that sends: to a peer in this process, which decodes what comes. */
#define GST_USE_UNSTABLE_API
#include <gio/gio.h>
#include <gst/webrtc/webrtc.h>

#include <nlohmann/json.hpp>

#include "element_test.h"

namespace {

using testing::HasSubstr;

/* How far a colour may be off after it was encoded. */
constexpr int kLossy = 16;

/* The example as a program, spoken to by lines. It ends with the object, which ends its input. */
class SenderProgram {
  public:
    explicit SenderProgram(const std::vector<std::string>& arguments) {
        std::vector<const char*> command{WEBRTC_SENDER};
        for (const std::string& argument : arguments) {
            command.push_back(argument.c_str());
        }
        command.push_back(nullptr);
        const auto pipes = static_cast<GSubprocessFlags>(G_SUBPROCESS_FLAGS_STDIN_PIPE |
                                                         G_SUBPROCESS_FLAGS_STDOUT_PIPE |
                                                         G_SUBPROCESS_FLAGS_STDERR_PIPE);
        process_.reset(g_subprocess_newv(command.data(), pipes, nullptr));
        output_.reset(g_data_input_stream_new(g_subprocess_get_stdout_pipe(process_.get())));
    }
    ~SenderProgram() {
        finish();
        g_subprocess_wait(process_.get(), nullptr, nullptr);
    }
    SenderProgram(const SenderProgram&) = delete;
    SenderProgram& operator=(const SenderProgram&) = delete;

    /* Empty when there is no more. */
    std::string readLine() const {
        const std::unique_ptr<char, decltype(&g_free)> line(
            g_data_input_stream_read_line(output_.get(), nullptr, nullptr, nullptr), &g_free);
        return line == nullptr ? std::string() : std::string(line.get());
    }

    void writeLine(const std::string& text) const {
        GOutputStream* const input = g_subprocess_get_stdin_pipe(process_.get());
        const std::string line = text + '\n';
        g_output_stream_write_all(input, line.data(), line.size(), nullptr, nullptr, nullptr);
        g_output_stream_flush(input, nullptr, nullptr);
    }

    void finish() const {
        g_output_stream_close(g_subprocess_get_stdin_pipe(process_.get()), nullptr, nullptr);
    }

    /* Waits for the end. */
    int status() const {
        g_subprocess_wait(process_.get(), nullptr, nullptr);
        return g_subprocess_get_exit_status(process_.get());
    }

    std::string errors() const {
        std::string text(1000, '\0');
        gsize length = 0;
        g_input_stream_read_all(g_subprocess_get_stderr_pipe(process_.get()), text.data(),
                                text.size(), &length, nullptr, nullptr);
        text.resize(length);
        return text;
    }

  private:
    std::unique_ptr<GSubprocess, Unref> process_;
    std::unique_ptr<GDataInputStream, Unref> output_;
};

GstWebRTCSessionDescription* descriptionIn(GstPromise* promise, const char* name) {
    GstWebRTCSessionDescription* description = nullptr;
    gst_promise_wait(promise);
    gst_structure_get(gst_promise_get_reply(promise), name, GST_TYPE_WEBRTC_SESSION_DESCRIPTION,
                      &description, nullptr);
    gst_promise_unref(promise);
    return description;
}

/* A peer that shows what it is sent. */
class Receiver {
  public:
    Receiver() {
        g_signal_connect(peer_.get(), "pad-added", G_CALLBACK(linkPad), depayloader_.get());
        GObject* agent = nullptr;
        g_object_get(peer_.get(), "ice-agent", &agent, nullptr);
        gboolean added = FALSE;
        g_signal_emit_by_name(agent, "add-local-ip-address", "127.0.0.1", &added);
        g_object_unref(agent);
        gst_element_set_state(pipeline_.pipeline(), GST_STATE_PLAYING);
    }

    const PicturePipeline& pipeline() const { return pipeline_; }

    /* The answer to an offer, with this peer's addresses in it. */
    std::string answer(const std::string& offer) const {
        take("set-remote-description", offerFrom(offer));
        GstPromise* const promise = gst_promise_new();
        g_signal_emit_by_name(peer_.get(), "create-answer", nullptr, promise);
        take("set-local-description", descriptionIn(promise, "answer"));
        if (!eventually([this] { return hasAllAddresses(); })) {
            throw std::runtime_error("the receiver finds no address of its own");
        }
        GstWebRTCSessionDescription* description = nullptr;
        g_object_get(peer_.get(), "local-description", &description, nullptr);
        const std::unique_ptr<char, decltype(&g_free)> sdp(
            gst_sdp_message_as_text(description->sdp), &g_free);
        gst_webrtc_session_description_free(description);
        return nlohmann::json{{"type", "answer"}, {"sdp", sdp.get()}}.dump();
    }

  private:
    static GstWebRTCSessionDescription* offerFrom(const std::string& line) {
        const nlohmann::json offer = nlohmann::json::parse(line);
        EXPECT_EQ(offer.at("type"), "offer");
        GstSDPMessage* sdp = nullptr;
        gst_sdp_message_new_from_text(offer.at("sdp").get_ref<const std::string&>().c_str(), &sdp);
        return gst_webrtc_session_description_new(GST_WEBRTC_SDP_TYPE_OFFER, sdp);
    }

    void take(const char* signal, GstWebRTCSessionDescription* description) const {
        GstPromise* const promise = gst_promise_new();
        g_signal_emit_by_name(peer_.get(), signal, description, promise);
        gst_promise_wait(promise);
        gst_promise_unref(promise);
        gst_webrtc_session_description_free(description);
    }

    bool hasAllAddresses() const {
        GstWebRTCICEGatheringState state{};
        g_object_get(peer_.get(), "ice-gathering-state", &state, nullptr);
        return state == GST_WEBRTC_ICE_GATHERING_STATE_COMPLETE;
    }

    static void linkPad(GstElement*, GstPad* pad, gpointer depayloader) {
        GstPad* const target =
            gst_element_get_static_pad(static_cast<GstElement*>(depayloader), "sink");
        gst_pad_link(pad, target);
        gst_object_unref(target);
    }

    PicturePipeline pipeline_{
        "webrtcbin name=peer bundle-policy=max-bundle "
        "rtpvp8depay name=depayloader ! vp8dec ! videoconvert ! video/x-raw,format=BGRx"};
    Element peer_ = pipeline_.element("peer");
    Element depayloader_ = pipeline_.element("depayloader");
};

using WebRtcTest = ElementTest;

TEST_F(WebRtcTest, PeerSeesTheScreenWithoutTheWindowLeftOut) {
    const std::string secret = "excluded-windows=<" + std::to_string(openWindow(kRed)) + ">";
    painter().fill({400, 300, 200, 160}, kGreen);
    painter().sync();
    const SenderProgram sender({"--local", "127.0.0.1", "width=320", secret});
    const Receiver receiver;
    sender.writeLine(receiver.answer(sender.readLine()));
    for (int picture = 0; picture < 10; ++picture) {
        const Shot shot = receiver.pipeline().shot();
        EXPECT_EQ(shot.width, 320);
        EXPECT_EQ(shot.height, 240);
        EXPECT_NEAR(colorAt(shot, 250, 190).green, kGreen.green, kLossy);
        EXPECT_NEAR(colorAt(shot, 250, 190).red, kGreen.red, kLossy);
        EXPECT_FALSE(shows(shot, kRed, kLossy));
    }
    sender.finish();
    EXPECT_EQ(sender.status(), 0);
    EXPECT_EQ(sender.errors(), "");
}

TEST_F(WebRtcTest, SenderRefusesWhatIsNoAnswer) {
    const SenderProgram sender({"--local", "127.0.0.1"});
    sender.readLine();
    sender.writeLine("{\"type\":\"answer\",\"sdp\":3}");
    EXPECT_EQ(sender.status(), 1);
    EXPECT_THAT(sender.errors(), HasSubstr("standard input is no answer"));
}

TEST_F(WebRtcTest, SenderRefusesWindowsThatItCannotLeaveOut) {
    const SenderProgram sender({"excluded-windows=<first>"});
    EXPECT_EQ(sender.status(), 2);
    EXPECT_THAT(sender.errors(), HasSubstr("excluded-windows"));
}

}  // namespace
