#include "window_crowd.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr int kOthers = 7;
constexpr int kMostBorder = 4;
constexpr std::uint16_t kSquare = 16;
constexpr Color kEvenSquare{0, 90, 60};
constexpr Color kOddSquare{0, 30, 110};
constexpr Area kAll{0, 0, WindowCrowd::kScreenWidth, WindowCrowd::kScreenHeight};

/* No colour for a window's border that a window may have. */
constexpr Color kBorder{0, 255, 255};

std::uint32_t pixelOf(Color color) {
    return 0xff000000U | std::uint32_t{color.red} << 16 | std::uint32_t{color.green} << 8 |
           color.blue;
}

/* The screen that the expected picture is painted on. */
class Sketch {
  public:
    Sketch() : pixels_(std::size_t{kAll.width} * kAll.height) {
        for (int y = 0; y < kAll.height; ++y) {
            for (int x = 0; x < kAll.width; ++x)
                at(x, y) = pixelOf((x / kSquare + y / kSquare) % 2 == 0 ? kEvenSquare : kOddSquare);
        }
    }

    /* Fills what lies in two rectangles and on the screen. */
    void fill(const Area& one, const Area& other, Color color) {
        const int left = std::max({0, int{one.x}, int{other.x}});
        const int top = std::max({0, int{one.y}, int{other.y}});
        const int right = std::min({int{kAll.width}, one.x + one.width, other.x + other.width});
        const int bottom = std::min({int{kAll.height}, one.y + one.height, other.y + other.height});
        for (int y = top; y < bottom; ++y) {
            for (int x = left; x < right; ++x)
                at(x, y) = pixelOf(color);
        }
    }

    std::vector<std::uint32_t> take() { return std::move(pixels_); }

  private:
    std::uint32_t& at(int x, int y) {
        return pixels_[static_cast<std::size_t>(y) * kAll.width + static_cast<std::size_t>(x)];
    }

    std::vector<std::uint32_t> pixels_;
};

Area grown(const Area& area, std::uint16_t border) {
    const auto both = static_cast<std::uint16_t>(2 * border);
    return {area.x, area.y, static_cast<std::uint16_t>(area.width + both),
            static_cast<std::uint16_t>(area.height + both)};
}

Area shifted(const Area& area, int x, int y) {
    return {static_cast<std::int16_t>(area.x + x), static_cast<std::int16_t>(area.y + y),
            area.width, area.height};
}

}  // namespace

WindowCrowd::WindowCrowd(const std::string& display, unsigned seed)
    : client_(display), random_(seed) {
    client_.setBackdrop(kEvenSquare, kOddSquare, kSquare);
    for (int i = 0; i < kOthers; ++i)
        add();
    const Area area = anyArea();
    Member secret{
        .window = client_.create({.area = area, .color = kSecret}), .area = area, .color = kSecret};
    client_.setUnfocusable(secret.window);
    secret_ = members_.insert(members_.end(), secret);
    map(*secret_);
    client_.sync();
}

int WindowCrowd::below(int bound) {
    return std::uniform_int_distribution(0, bound - 1)(random_);
}

/* Small as often as large: little of the screen is treated differently from much. On screen with
 * more than a border, which is what compositing managers do not care to show. */
Area WindowCrowd::anyArea() {
    const bool isSmall = oneIn(2);
    const int width = 10 + below(isSmall ? 50 : 200);
    const int height = 10 + below(isSmall ? 40 : 140);
    const int x = std::max(below(kScreenWidth - 5) - 60, 5 - width);
    const int y = std::max(below(kScreenHeight - 5) - 40, 5 - height);
    return {static_cast<std::int16_t>(x), static_cast<std::int16_t>(y),
            static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(height)};
}

std::vector<Area> WindowCrowd::anyShape() {
    return {{0, 0, static_cast<std::uint16_t>(5 + below(60)), 30},
            {20, static_cast<std::int16_t>(20 + below(40)), 50, 45}};
}

/* A new window, on top of the others, and mapped. */
void WindowCrowd::add() {
    const auto shade = static_cast<std::uint8_t>(40 + below(200));
    const auto otherShade = static_cast<std::uint8_t>(40 + below(200));
    Member member{.area = anyArea(), .color = {0, shade, otherShade}};
    const bool isShaped = oneIn(4);
    if (!isShaped && oneIn(3))
        member.border = static_cast<std::uint16_t>(1 + below(kMostBorder));
    member.window =
        client_.create({.area = member.area,
                        .color = member.color,
                        .background = oneIn(3) ? Look::Background::none : Look::Background::color,
                        .border = member.border,
                        .borderColor = kBorder,
                        .isOverrideRedirect = oneIn(3)});
    client_.setUnfocusable(member.window);
    if (isShaped) {
        member.shape = anyShape();
        client_.setShape(member.window, member.shape);
    }
    map(members_.emplace_back(member));
}

void WindowCrowd::replace(Members::iterator member) {
    client_.destroy(member->window);
    members_.erase(member);
    add();
}

/* The secret one as often as all others together. */
WindowCrowd::Members::iterator WindowCrowd::anyMember() {
    return oneIn(2) ? secret_
                    : std::next(members_.begin(), below(static_cast<int>(members_.size())));
}

void WindowCrowd::act() {
    const auto member = anyMember();
    switch (below(12)) {
        case 0:
        case 1:
            raise(member);
            break;
        case 2:
            lower(member);
            break;
        case 3:
            unmap(*member);
            break;
        case 4:
        case 5:
            map(*member);
            break;
        case 6:
            paint(*member);
            break;
        case 7:
            place(*member, anyArea());
            break;
        case 8:
            if (member != secret_)
                replace(member);
            else if (oneIn(3))
                showSecret(true);
            break;
        default: {
            const Area any = anyArea();
            const auto x = std::max<int>(any.x, 5 - member->area.width);
            const auto y = std::max<int>(any.y, 5 - member->area.height);
            place(*member, {static_cast<std::int16_t>(x), static_cast<std::int16_t>(y),
                            member->area.width, member->area.height});
        }
    }
    client_.sync();
}

void WindowCrowd::place(Member& member, const Area& area) {
    client_.move(member.window, area.x, area.y);
    if (area.width != member.area.width || area.height != member.area.height)
        client_.resize(member.window, area.width, area.height);
    member.area = area;
}

void WindowCrowd::raise(Members::iterator member) {
    client_.raise(member->window);
    members_.splice(members_.end(), members_, member);
}

void WindowCrowd::lower(Members::iterator member) {
    client_.lower(member->window);
    members_.splice(members_.begin(), members_, member);
}

void WindowCrowd::map(Member& member) {
    client_.map(member.window);
    member.isMapped = true;
}

void WindowCrowd::unmap(Member& member) {
    client_.unmap(member.window);
    member.isMapped = false;
}

void WindowCrowd::paint(const Member& member) {
    client_.fill(member.window, {0, 0, member.area.width, member.area.height}, member.color);
}

void WindowCrowd::paintAll() {
    for (const Member& member : members_)
        paint(member);
    client_.sync();
}

void WindowCrowd::paintExposed() {
    for (const Member& member : members_) {
        if (client_.takeExposure(member.window))
            paint(member);
    }
    client_.sync();
}

void WindowCrowd::hideSecret() {
    unmap(*secret_);
    client_.sync();
}

void WindowCrowd::showSecret(bool isOverAll) {
    if (isOverAll)
        place(*secret_, kAll);
    map(*secret_);
    raise(secret_);
    client_.sync();
}

std::vector<std::uint32_t> WindowCrowd::expectedWithoutSecret() const {
    Sketch sketch;
    for (const Member& member : members_) {
        if (!member.isMapped || &member == &*secret_)
            continue;
        const Area box = grown(member.area, member.border);
        const Area inside = shifted(member.area, member.border, member.border);
        std::vector<Area> parts;
        for (const Area& part : member.shape)
            parts.push_back(shifted(part, inside.x, inside.y));
        if (parts.empty())
            parts.push_back(box);
        for (const Area& part : parts) {
            sketch.fill(box, part, kBorder);
            sketch.fill(inside, part, member.color);
        }
    }
    return sketch.take();
}

CrowdInMotion::CrowdInMotion(const std::string& display, unsigned seed, int mostActs)
    : mostActs_(mostActs), crowd_(display, seed), random_(seed), thread_([this] { run(); }) {}

CrowdInMotion::~CrowdInMotion() {
    const auto lock = rest();
    isOver_ = true;
    mayAct_.notify_one();
}

void CrowdInMotion::goOn() {
    const auto lock = rest();
    actsLeft_ = std::uniform_int_distribution(1, mostActs_)(random_);
    mayAct_.notify_one();
}

void CrowdInMotion::run() {
    for (;;) {
        auto lock = rest();
        mayAct_.wait(lock, [this] { return isOver_ || actsLeft_ > 0; });
        if (isOver_)
            return;
        --actsLeft_;
        crowd_.act();
    }
}
