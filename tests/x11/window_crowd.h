/*
 * An application whose windows do at random what windows do, a secret one among them.
 *
 * They are moved, resized, raised, lowered, mapped, unmapped, painted, destroyed and created; some
 * have no background, some a shape, some a border, some are outside of window management. Only the
 * secret one's colour has any red in it. What the application would see on a screen where nobody
 * manages windows, it can tell.
 */
#pragma once

#include <condition_variable>
#include <cstdint>
#include <list>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "window_client.h"

class WindowCrowd {
  public:
    static constexpr std::uint16_t kScreenWidth = 320;
    static constexpr std::uint16_t kScreenHeight = 200;
    static constexpr Color kSecret{200, 10, 20};

    WindowCrowd(const std::string& display, unsigned seed);

    xcb_window_t secret() const { return secret_->window; }

    /* Does something to one of the windows. It is done when this returns, as far as the server is
     * concerned. */
    void act();

    /* Paints all windows, and then those that the server asks for. */
    void paintAll();
    void paintExposed();

    void hideSecret();
    /* Shows it in front of the others, over all of the screen if so. */
    void showSecret(bool isOverAll);

    /* The screen without the secret window, 0xffRRGGBB a pixel, where the server alone places the
     * windows. */
    std::vector<std::uint32_t> expectedWithoutSecret() const;

  private:
    struct Member {
        xcb_window_t window = 0;
        Area area = {};  // the border not counted in its size
        Color color = {};
        std::uint16_t border = 0;
        bool isMapped = false;
        std::vector<Area> shape = {};  // empty: all of it
    };
    using Members = std::list<Member>;

    int below(int bound);
    bool oneIn(int count) { return below(count) == 0; }
    Area anyArea();
    std::vector<Area> anyShape();
    void add();
    void replace(Members::iterator member);
    Members::iterator anyMember();
    void place(Member& member, const Area& area);
    void raise(Members::iterator member);
    void lower(Members::iterator member);
    void map(Member& member);
    void unmap(Member& member);
    void paint(const Member& member);

    WindowClient client_;
    std::mt19937 random_;
    Members members_;  // the lowest first
    Members::iterator secret_;
};

/* A crowd that acts on a thread of its own, a few times for each picture: without a bound it would
 * take all of the server's time. */
class CrowdInMotion {
  public:
    /* mostActs: for each picture. Where they last longer than a picture takes, it is under way in
     * the middle of them. */
    CrowdInMotion(const std::string& display, unsigned seed, int mostActs);
    ~CrowdInMotion();
    CrowdInMotion(const CrowdInMotion&) = delete;
    CrowdInMotion& operator=(const CrowdInMotion&) = delete;

    /* Lets it act a few times, from now on. */
    void goOn();

    /* What it is until the returned lock is let go, at rest. */
    std::unique_lock<std::mutex> rest() { return std::unique_lock(mutex_); }
    WindowCrowd& crowd() { return crowd_; }

  private:
    void run();

    const int mostActs_;
    std::mutex mutex_;
    std::condition_variable mayAct_;
    WindowCrowd crowd_;
    std::mt19937 random_;
    int actsLeft_ = 0;
    bool isOver_ = false;
    std::jthread thread_;
};
