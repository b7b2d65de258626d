/* Starts, pauses and ends. */
#include <chrono>
#include <filesystem>
#include <iterator>
#include <thread>

#include "element_test.h"
#include "process_resources.h"

namespace {

using ElementStatesTest = ElementTest;

std::size_t threads() {
    const std::filesystem::directory_iterator entries("/proc/self/task");
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

TEST_F(ElementStatesTest, LiveSourceHasNoPreroll) {
    const PicturePipeline pipeline("qorcapturesrc");
    EXPECT_EQ(pipeline.enter(GST_STATE_PAUSED), GST_STATE_CHANGE_NO_PREROLL);
    EXPECT_EQ(pipeline.enter(GST_STATE_PLAYING), GST_STATE_CHANGE_SUCCESS);
    EXPECT_TRUE(pipeline.next());
}

TEST_F(ElementStatesTest, PicturesAfterAPauseShowTheScreenAsItIsThen) {
    const PicturePipeline pipeline("qorcapturesrc");
    pipeline.enter(GST_STATE_PLAYING);
    for (const Color color : {kGreen, kRed, Color{1, 2, 3}}) {
        pipeline.shot();
        pipeline.enter(GST_STATE_PAUSED);
        const GstClockTime pausedAt = pipeline.runningTime();  // no picture before is later
        painter().fill({600, 440, 40, 40}, color);
        painter().sync();
        pipeline.enter(GST_STATE_PLAYING);
        Shot shot = pipeline.shot();
        while (shot.time <= pausedAt) {
            shot = pipeline.shot();
        }
        EXPECT_EQ(colorAt(shot, 620, 460), color);
    }
}

TEST_F(ElementStatesTest, StreamEndsAfterTheNumberOfBuffersAskedFor) {
    const PicturePipeline pipeline("qorcapturesrc num-buffers=3");
    pipeline.enter(GST_STATE_PLAYING);
    int pictures = 0;
    while (pipeline.next()) {
        ++pictures;
    }
    EXPECT_EQ(pictures, 3);
    EXPECT_TRUE(pipeline.tells(GST_MESSAGE_EOS));
}

TEST_F(ElementStatesTest, StreamEndsWhenToldTo) {
    const PicturePipeline pipeline("qorcapturesrc framerate=1");
    pipeline.enter(GST_STATE_PLAYING);
    pipeline.shot();
    gst_element_send_event(pipeline.pipeline(), gst_event_new_eos());
    while (pipeline.next()) {
    }
    EXPECT_TRUE(pipeline.tells(GST_MESSAGE_EOS));
}

TEST_F(ElementStatesTest, StreamThatWaitsForItsFirstPictureCanBeStopped) {
    const PicturePipeline pipeline("qorcapturesrc window=1");
    EXPECT_EQ(gst_element_set_state(pipeline.pipeline(), GST_STATE_PLAYING),
              GST_STATE_CHANGE_ASYNC);
    EXPECT_EQ(pipeline.enter(GST_STATE_NULL), GST_STATE_CHANGE_SUCCESS);
}

TEST_F(ElementStatesTest, TwentyRunsLeaveNothingBehind) {
    g_thread_pool_set_max_unused_threads(0);          // which would stay, each with its connection
    const std::size_t threadsAtRest = threads() + 1;  // one of GLib's, which starts the others
    const auto isAtRest = [threadsAtRest] { return threads() <= threadsAtRest; };
    const PicturePipeline pipeline("qorcapturesrc");
    const auto run = [&pipeline] {
        pipeline.enter(GST_STATE_PLAYING);
        pipeline.shot();
        EXPECT_EQ(pipeline.enter(GST_STATE_NULL), GST_STATE_CHANGE_SUCCESS);
    };
    run();
    ASSERT_TRUE(eventually(isAtRest)) << threads();
    const ProcessResources before = ProcessResources::now();
    for (int more = 0; more < 20; ++more) {
        run();
    }
    EXPECT_TRUE(eventually(isAtRest)) << threads();
    EXPECT_TRUE(eventually([&before] {
        return ProcessResources::now().descriptors <= before.descriptors;
    })) << testing::PrintToString(ProcessResources::now());
    EXPECT_EQ(ProcessResources::now().imageMappings, before.imageMappings);
}

}  // namespace
