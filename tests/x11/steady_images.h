/*
 * What tests share that compare the images of a thread that takes them all the time, and may keep
 * something from one to the next, with images of threads that never took one before.
 */
#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include "screen_test.h"

using TakeImage = std::function<Image()>;

/* An image taken by a new thread, which has a connection to the server of its own. */
Image freshImage(const TakeImage& take);

/* Where, and in how much, two images differ; empty if they do not. A missing one is like another
 * missing one only. */
std::string differenceOf(const Image& image, const Image& other);

/* A thread that takes images one after the other. */
class SteadyImages {
  public:
    explicit SteadyImages(TakeImage take);
    ~SteadyImages();
    SteadyImages(const SteadyImages&) = delete;
    SteadyImages& operator=(const SteadyImages&) = delete;

    /* The first one that was begun after the call. */
    Image next();

  private:
    void run(const std::stop_token& stop);

    const TakeImage take_;
    std::atomic<unsigned> asked_ = 0;
    std::mutex mutex_;
    std::condition_variable answered_;
    unsigned answer_ = 0;  // to how many of the questions it is
    Image image_;
    std::jthread thread_;
};
