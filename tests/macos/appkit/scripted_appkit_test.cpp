// The scripted AppKit tells every mistake with a message.
#include "scripted_appkit.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "appkit_classes.h"

extern "C" void objc_msgSend();
extern "C" void objc_msgSend_stret();

namespace scripted_appkit {

namespace {

using appkit::screenClass;
using testing::ElementsAre;
using testing::IsEmpty;

class ScriptedAppKit : public testing::Test {
  protected:
    void SetUp() override {
        reset();
        setMainScreen({.number = 722, .frame = CGRectMake(1, 2, 3, 4), .scale = 2});
        main_ = send<const void*>(&screenClass, "mainScreen");
    }

    template <typename Result>
    static Result send(const void* receiver, const char* selector) {
        using Send = Result (*)(const void*, const char*);
        return reinterpret_cast<Send>(&objc_msgSend)(receiver, selector);
    }

    static CGRect sendForFrame(const void* receiver) {
        using Send = CGRect (*)(const void*, const char*);
        return reinterpret_cast<Send>(&objc_msgSend_stret)(receiver, "frame");
    }

    const void* main_ = nullptr;
};

TEST_F(ScriptedAppKit, answersWhatIsUnderstood) {
    EXPECT_EQ(send<double>(main_, "backingScaleFactor"), 2);
    EXPECT_EQ(sendForFrame(main_).size.height, 4);
    EXPECT_THAT(messages(), ElementsAre("[NSScreen mainScreen]", "[main screen backingScaleFactor]",
                                        "[main screen frame]"));
    EXPECT_THAT(faults(), IsEmpty());
}

TEST_F(ScriptedAppKit, blamesASelectorThatTheClassLacks) {
    EXPECT_EQ(send<const void*>(main_, "retain"), nullptr);
    EXPECT_EQ(send<const void*>(&screenClass, "backingScaleFactor"), nullptr);
    EXPECT_THAT(faults(), ElementsAre("not understood: [main screen retain]",
                                      "not understood: [NSScreen backingScaleFactor]"));
}

TEST_F(ScriptedAppKit, blamesAMessageToWhatWasNeverHandedOut) {
    const long number = 0;
    send<const void*>(&number, "deviceDescription");
    EXPECT_THAT(faults(), ElementsAre("not an object: [foreign deviceDescription]"));
}

TEST_F(ScriptedAppKit, blamesAMessageToAnObjectThatIsGone) {
    const void* const description = send<const void*>(main_, "deviceDescription");
    setMainScreen({});
    sendForFrame(main_);
    send<const void*>(description, "objectForKeyedSubscript:");
    EXPECT_THAT(faults(),
                ElementsAre("gone: [main screen frame]",
                            "gone: [description of main screen objectForKeyedSubscript:]"));
}

TEST_F(ScriptedAppKit, blamesTheEntryPointOfAnotherKindOfResult) {
    send<const void*>(main_, "frame");
    EXPECT_THAT(faults(), ElementsAre("result of another kind: [main screen frame]"));
}

TEST_F(ScriptedAppKit, blamesAKeyThatIsNoConstantString) {
    const void* const description = send<const void*>(main_, "deviceDescription");
    using Send = const void* (*)(const void*, const char*, const void*);
    reinterpret_cast<Send> (&objc_msgSend)(description, "objectForKeyedSubscript:", nullptr);
    EXPECT_THAT(faults(), ElementsAre("the key is no constant string: [description of main screen "
                                      "objectForKeyedSubscript:]"));
}

// A result in memory is for the caller to clear: see the nonsense that comes instead.
TEST_F(ScriptedAppKit, answersNilWithZeroInRegistersOnly) {
    EXPECT_EQ(send<long>(nullptr, "integerValue"), 0);
    EXPECT_EQ(send<double>(nullptr, "backingScaleFactor"), 0);
    EXPECT_NE(sendForFrame(nullptr).size.width, 0);
    EXPECT_THAT(faults(), IsEmpty());
}

}  // namespace

}  // namespace scripted_appkit
