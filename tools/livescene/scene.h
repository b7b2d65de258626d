/*
 * A desktop that is never still: a background and four windows, each with a motion of its own.
 *
 * A window is painted off screen and shown in one piece, so that no captured frame holds half of
 * one. What is shown depends on the frame number alone.
 */
#ifndef LIVESCENE_SCENE_H
#define LIVESCENE_SCENE_H

#include <cstdint>
#include <string>
#include <vector>

#include "canvas.h"

class Scene {
  public:
    /* Opens the windows on a canvas that is alive and must outlive the scene. */
    explicit Scene(Canvas& canvas);

    /* Draws everything as it is at that frame. */
    void draw(std::uint64_t frame);

  private:
    struct Pane {
        xcb_window_t window;
        xcb_pixmap_t picture;
        std::string title;
        xcb_rectangle_t content;  // within the window, below the title
        Color background;
        void (*paint)(Canvas& canvas, const Pane& pane, std::uint64_t frame);
    };

    static void paintCounter(Canvas& canvas, const Pane& pane, std::uint64_t frame);
    static void paintBall(Canvas& canvas, const Pane& pane, std::uint64_t frame);
    static void paintBars(Canvas& canvas, const Pane& pane, std::uint64_t frame);
    static void paintStripes(Canvas& canvas, const Pane& pane, std::uint64_t frame);

    void drawBackground();
    void addPane(const std::string& title, int column, int row, Color background,
                 void (*paint)(Canvas&, const Pane&, std::uint64_t));
    void drawTitle(const Pane& pane);

    Canvas& canvas_;
    std::vector<Pane> panes_;
};

#endif
