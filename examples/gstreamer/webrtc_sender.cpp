/*
 * Sends what qorcapturesrc captures to one peer over WebRTC, as VP8.
 *
 *   webrtc_sender [--local ADDRESS] [PROPERTY=VALUE]...
 *
 * The properties are those of qorcapturesrc. How the two sides' descriptions reach each other is
 * left to whoever runs this: one line of JSON goes to standard output,
 * {"type":"offer","sdp":"..."}, with all candidates in it, and one is read from standard input,
 * {"type":"answer","sdp":"..."}. Sending lasts until standard input ends, or Ctrl-C. --local has
 * the peers meet on one of this machine's addresses alone.
 */
#define GST_USE_UNSTABLE_API
#include <glib-unix.h>
#include <gst/gst.h>
#include <gst/webrtc/webrtc.h>

#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace {

constexpr char kPeer[] = "webrtcbin name=peer bundle-policy=max-bundle qorcapturesrc ";

// Speed counts for more than size; what the encoder cannot keep up with is left out before it.
constexpr char kEncoding[] =
    " ! videoconvert ! queue leaky=downstream max-size-buffers=2 ! "
    "vp8enc deadline=1 cpu-used=8 keyframe-max-dist=60 target-bitrate=2500000 ! rtpvp8pay ! "
    "application/x-rtp,media=video,encoding-name=VP8,payload=96 ! peer.";

struct Unref {
    void operator()(gpointer object) const { gst_object_unref(object); }
};
struct UnrefLoop {
    void operator()(GMainLoop* loop) const { g_main_loop_unref(loop); }
};
struct FreeDescription {
    void operator()(GstWebRTCSessionDescription* description) const {
        gst_webrtc_session_description_free(description);
    }
};
using Element = std::unique_ptr<GstElement, Unref>;
using Description = std::unique_ptr<GstWebRTCSessionDescription, FreeDescription>;

class Sender {
  public:
    Sender(const std::string& localAddress, const std::vector<std::string>& properties);
    ~Sender() { gst_element_set_state(pipeline_.get(), GST_STATE_NULL); }
    Sender(const Sender&) = delete;
    Sender& operator=(const Sender&) = delete;

    /* Sends until the end; false when something went wrong, which is on standard error then. */
    bool run();

  private:
    void fail(const std::string& line);
    void takeAnswer(const std::string& line);

    static void makeOffer(GstElement* peer, gpointer self);
    static void takeOffer(GstPromise* promise, gpointer self);
    static void printOffer(GstElement* peer, GParamSpec* spec, gpointer self);
    static void watchConnection(GstElement* peer, GParamSpec* spec, gpointer self);
    static gboolean readInput(GIOChannel* input, GIOCondition condition, gpointer self);
    static gboolean readBus(GstBus* bus, GstMessage* message, gpointer self);
    static gboolean end(gpointer self);

    std::unique_ptr<GMainLoop, UnrefLoop> loop_{g_main_loop_new(nullptr, FALSE)};
    Element pipeline_;
    Element peer_;
    bool failed_ = false;
};

void addLocalAddress(GstElement* peer, const std::string& address) {
    GObject* agent = nullptr;
    g_object_get(peer, "ice-agent", &agent, nullptr);
    gboolean added = FALSE;
    g_signal_emit_by_name(agent, "add-local-ip-address", address.c_str(), &added);
    g_object_unref(agent);
    if (added == FALSE) {
        throw std::runtime_error("'" + address + "' is no address to meet on");
    }
}

// Refuses what cannot be set: a window that was to be left out must not slip in by a misspelling.
Element makePipeline(const std::vector<std::string>& properties) {
    std::string description = kPeer;
    for (const std::string& assignment : properties) {
        description += assignment + ' ';
    }
    GError* error = nullptr;
    Element pipeline(gst_parse_launch_full((description + kEncoding).c_str(), nullptr,
                                           GST_PARSE_FLAG_FATAL_ERRORS, &error));
    if (pipeline == nullptr) {
        const std::string why = error->message;
        g_error_free(error);
        throw std::runtime_error(why);
    }
    return pipeline;
}

Sender::Sender(const std::string& localAddress, const std::vector<std::string>& properties)
    : pipeline_(makePipeline(properties)),
      peer_(gst_bin_get_by_name(GST_BIN(pipeline_.get()), "peer")) {
    if (!localAddress.empty()) {
        addLocalAddress(peer_.get(), localAddress);
    }
    g_signal_connect(peer_.get(), "on-negotiation-needed", G_CALLBACK(makeOffer), this);
    g_signal_connect(peer_.get(), "notify::ice-gathering-state", G_CALLBACK(printOffer), this);
    g_signal_connect(peer_.get(), "notify::connection-state", G_CALLBACK(watchConnection), this);
}

bool Sender::run() {
    GIOChannel* const input = g_io_channel_unix_new(0);
    g_io_add_watch(input, static_cast<GIOCondition>(G_IO_IN | G_IO_HUP), readInput, this);
    g_io_channel_unref(input);
    g_unix_signal_add(SIGINT, end, this);
    const std::unique_ptr<GstBus, Unref> bus(gst_element_get_bus(pipeline_.get()));
    gst_bus_add_watch(bus.get(), readBus, this);
    gst_element_set_state(pipeline_.get(), GST_STATE_PLAYING);
    g_main_loop_run(loop_.get());
    gst_bus_remove_watch(bus.get());
    return !failed_;
}

void Sender::fail(const std::string& line) {
    std::cerr << "webrtc_sender: " << line << '\n';
    failed_ = true;
    g_main_loop_quit(loop_.get());
}

// The element that sends tells what it would send, which is the offer; to set it makes the element
// gather the addresses where it can be met.
void Sender::makeOffer(GstElement* peer, gpointer self) {
    GstPromise* const promise = gst_promise_new_with_change_func(takeOffer, self, nullptr);
    g_signal_emit_by_name(peer, "create-offer", nullptr, promise);
}

void Sender::takeOffer(GstPromise* promise, gpointer self) {
    GstWebRTCSessionDescription* offer = nullptr;
    const GstStructure* const reply = gst_promise_get_reply(promise);
    gst_structure_get(reply, "offer", GST_TYPE_WEBRTC_SESSION_DESCRIPTION, &offer, nullptr);
    gst_promise_unref(promise);
    const Description owned(offer);
    g_signal_emit_by_name(static_cast<Sender*>(self)->peer_.get(), "set-local-description", offer,
                          nullptr);
}

// Once all addresses are in it, so that nothing has to follow it.
void Sender::printOffer(GstElement* peer, GParamSpec*, gpointer) {
    GstWebRTCICEGatheringState state{};
    g_object_get(peer, "ice-gathering-state", &state, nullptr);
    if (state != GST_WEBRTC_ICE_GATHERING_STATE_COMPLETE) {
        return;
    }
    GstWebRTCSessionDescription* offer = nullptr;
    g_object_get(peer, "local-description", &offer, nullptr);
    const Description owned(offer);
    const std::unique_ptr<gchar, decltype(&g_free)> sdp(gst_sdp_message_as_text(offer->sdp),
                                                        &g_free);
    std::cout << nlohmann::json{{"type", "offer"}, {"sdp", sdp.get()}}.dump() << std::endl;
}

void Sender::watchConnection(GstElement* peer, GParamSpec*, gpointer self) {
    GstWebRTCPeerConnectionState state{};
    g_object_get(peer, "connection-state", &state, nullptr);
    if (state == GST_WEBRTC_PEER_CONNECTION_STATE_FAILED) {
        static_cast<Sender*>(self)->fail("the peer cannot be reached any more");
    }
}

gboolean Sender::readInput(GIOChannel*, GIOCondition, gpointer self) {
    std::string line;
    if (!std::getline(std::cin, line)) {
        return end(self);
    }
    static_cast<Sender*>(self)->takeAnswer(line);
    return G_SOURCE_CONTINUE;
}

void Sender::takeAnswer(const std::string& line) {
    const nlohmann::json answer = nlohmann::json::parse(line, nullptr, false);
    const bool isAnswer = answer.is_object() && answer.value("type", nlohmann::json()) == "answer";
    const nlohmann::json text = isAnswer ? answer.value("sdp", nlohmann::json()) : nullptr;
    GstSDPMessage* sdp = nullptr;
    if (!text.is_string() ||
        gst_sdp_message_new_from_text(text.get<std::string>().c_str(), &sdp) != GST_SDP_OK) {
        fail("standard input is no answer: {\"type\":\"answer\",\"sdp\":\"...\"}");
        return;
    }
    const Description description(
        gst_webrtc_session_description_new(GST_WEBRTC_SDP_TYPE_ANSWER, sdp));
    g_signal_emit_by_name(peer_.get(), "set-remote-description", description.get(), nullptr);
}

gboolean Sender::readBus(GstBus*, GstMessage* message, gpointer self) {
    if (GST_MESSAGE_TYPE(message) != GST_MESSAGE_ERROR) {
        return G_SOURCE_CONTINUE;
    }
    GError* error = nullptr;
    gst_message_parse_error(message, &error, nullptr);
    static_cast<Sender*>(self)->fail(error->message);
    g_error_free(error);
    return G_SOURCE_REMOVE;
}

gboolean Sender::end(gpointer self) {
    g_main_loop_quit(static_cast<Sender*>(self)->loop_.get());
    return G_SOURCE_REMOVE;
}

}  // namespace

int main(int argc, char** argv) {
    gst_init(&argc, &argv);
    std::vector<std::string> arguments(argv + 1, argv + argc);
    std::string localAddress;
    if (arguments.size() >= 2 && arguments[0] == "--local") {
        localAddress = arguments[1];
        arguments.erase(arguments.begin(), arguments.begin() + 2);
    }
    try {
        return Sender(localAddress, arguments).run() ? 0 : 1;
    } catch (const std::runtime_error& error) {
        std::cerr << "webrtc_sender: " << error.what() << '\n';
        return 2;
    }
}
