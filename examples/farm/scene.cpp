#include "scene.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace farm
{
namespace
{
struct vec
{
    double x = 0;
    double y = 0;
    double z = 0;
};

vec operator+(vec a, vec b)
{
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}

vec operator-(vec a, vec b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

vec operator*(vec a, double k)
{
    return {a.x * k, a.y * k, a.z * k};
}

double dot(vec a, vec b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

vec cross(vec a, vec b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

vec normalized(vec a)
{
    return a * (1 / std::sqrt(dot(a, a)));
}

vec mixed(vec a, vec b, double k)
{
    return a * (1 - k) + b * k;
}

// Doubles both spherical angles and squares the radius; three times gives the eighth power without trigonometry.
vec squared(vec p)
{
    const double flat = p.x * p.x + p.y * p.y;
    const double height = p.z * p.z - flat;
    if (flat < 1e-24)
        return {0, 0, height};
    const double spread = 2 * p.z / std::sqrt(flat);
    return {spread * (p.x * p.x - p.y * p.y), spread * 2 * p.x * p.y, height};
}

constexpr double kSurface = 0.0012; // as near as this counts as touching
constexpr int kMarchSteps = 90;
constexpr double kBound = 1.25; // the bulb lies within this radius

struct sample
{
    double distance = 0;
    double trap = 0; // how near the orbit came to the origin: colours the surface
};

sample bulb(vec p)
{
    vec z = p;
    double derivative = 1;
    double radius = std::sqrt(dot(z, z));
    double trap = 10;
    for (int i = 0; i < 7 && radius < 2; ++i)
    {
        const double r2 = radius * radius;
        derivative = 8 * r2 * r2 * r2 * radius * derivative + 1;
        z = squared(squared(squared(z))) + p;
        radius = std::sqrt(dot(z, z));
        trap = std::min(trap, radius);
    }
    return {0.5 * std::log(std::max(radius, 1e-9)) * radius / derivative, trap};
}

vec surface_normal(vec p)
{
    constexpr double e = kSurface;
    return normalized({bulb({p.x + e, p.y, p.z}).distance - bulb({p.x - e, p.y, p.z}).distance,
                       bulb({p.x, p.y + e, p.z}).distance - bulb({p.x, p.y - e, p.z}).distance,
                       bulb({p.x, p.y, p.z + e}).distance - bulb({p.x, p.y, p.z - e}).distance});
}

double light_reaching(vec from, vec towards)
{
    double shade = 1;
    double travelled = 0.01;
    for (int i = 0; i < 30 && travelled < 1.6; ++i)
    {
        const double gap = bulb(from + towards * travelled).distance;
        if (gap < kSurface)
            return 0;
        shade = std::min(shade, 10 * gap / travelled);
        travelled += std::max(gap, 0.01);
    }
    return shade;
}

vec palette(double t)
{
    const auto channel = [t](double offset)
    { return 0.52 + 0.48 * std::cos(2 * std::numbers::pi * (0.9 * t + offset)); };
    return {channel(0.30), channel(0.48), channel(0.62)};
}

vec sky(vec direction, double glow)
{
    const vec base = mixed({0.002, 0.003, 0.010}, {0.03, 0.035, 0.08}, 0.5 + 0.5 * direction.z);
    return base + vec{0.16, 0.30, 0.55} * glow;
}

vec colour_along(vec eye, vec direction, vec sun)
{
    // Start at the bounding sphere; most rays never meet it.
    const double along = -dot(eye, direction);
    const double miss2 = dot(eye, eye) - along * along;
    if (miss2 > kBound * kBound)
        return sky(direction, 0);
    const double half_chord = std::sqrt(kBound * kBound - miss2);
    double travelled = std::max(0.0, along - half_chord);
    double nearest = 1;
    for (int step = 0; step < kMarchSteps && travelled < along + half_chord; ++step)
    {
        const vec p = eye + direction * travelled;
        const sample here = bulb(p);
        nearest = std::min(nearest, here.distance);
        if (here.distance < kSurface * travelled)
        {
            const vec normal = surface_normal(p);
            const double direct = std::max(0.0, dot(normal, sun));
            const double lit = direct > 0 ? direct * light_reaching(p + normal * 0.004, sun) : 0;
            const double open = 1 - static_cast<double>(step) / kMarchSteps; // crowded places are dark
            const double rim = std::pow(1 + dot(normal, direction), 3);
            const vec surface = palette(here.trap);
            return surface * (0.16 * open + 1.15 * lit) + vec{0.35, 0.55, 0.95} * (0.30 * rim * open);
        }
        travelled += here.distance;
    }
    return sky(direction, std::exp(-40 * nearest) * 0.8);
}

std::uint8_t to_byte(double light)
{
    const double toned = std::pow(std::clamp(1 - std::exp(-1.6 * light), 0.0, 1.0), 1 / 1.8);
    return static_cast<std::uint8_t>(std::lround(255 * toned));
}

struct camera
{
    vec eye;
    vec forward;
    vec right;
    vec up;
    vec sun; // over the viewer's shoulder, so that every frame shows a lit side

    explicit camera(double phase)
    {
        const double turn = 2 * std::numbers::pi * phase;
        const double distance = 2.25 - 0.45 * std::sin(turn);
        eye = vec{std::cos(turn), std::sin(turn), 0.45 * std::sin(turn + 0.8)} * distance;
        forward = normalized(eye * -1);
        right = normalized(cross(forward, {0, 0, 1}));
        up = cross(right, forward);
        sun = normalized(right * 0.8 + up * 0.7 - forward * 0.5);
    }

    vec towards(double x, double y) const { return normalized(forward * 1.7 + right * x + up * y); }
};
} // namespace

image draw_scene(int width, int height, double phase, const std::function<void(int)>& progress)
{
    image drawn{width, height, {}};
    drawn.pixels.resize(3 * static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    const camera view(phase);
    std::size_t next = 0;
    int announced = 0;
    for (int row = 0; row < height; ++row)
    {
        for (int column = 0; column < width; ++column)
        {
            vec light;
            for (const double down : {0.25, 0.75}) // four rays a pixel
                for (const double across : {0.25, 0.75})
                    light = light + colour_along(view.eye,
                                                 view.towards((2 * (column + across) - width) / height,
                                                              (height - 2 * (row + down)) / height),
                                                 view.sun);
            for (const double channel : {light.x, light.y, light.z})
                drawn.pixels[next++] = to_byte(channel / 4);
        }
        const int percent = (row + 1) * 10 / height * 10;
        if (progress && percent > announced)
        {
            announced = percent;
            progress(percent);
        }
    }
    return drawn;
}
} // namespace farm
