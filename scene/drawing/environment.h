#pragma once

#include "kernel/main/export.h"
#include "kernel/math/matrix.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace tov::scene {

/// Light from all directions, prefiltered for drawing. Immutable.
///
/// `table` holds the light that a surface reflects, by roughness: `Levels` squares of `Edge` x `Edge` directions, the
/// first for roughness 0, the last for roughness 1. A direction lies in a square by the octahedral mapping (Cigolle et
/// al., "Survey of Efficient Representations for Independent Unit Vectors", JCGT 3(2), 2014); one row of texels around
/// the square repeats its neighbours, so that linear filtering has no seam.
class TOV_EXPORT Environment
{
public:
    typedef std::array<float, 3> Color;
    typedef std::array<float, 3> Direction;

    static constexpr int Edge = 128;
    static constexpr int Levels = 6;

    /// The built-in studio, in the camera's axes. Thread: any.
    static std::shared_ptr<const Environment> studio();
    /// Filters the light that comes from each direction. Thread: any.
    explicit Environment(const std::function<Color(const Direction&)>& radiance);

    /// `Levels` x `Edge` x `Edge` colours: linear red, green and blue; not negative.
    const std::vector<float>& getTable() const { return m_Table; }
    /// Irradiance divided by pi, as spherical harmonics up to degree 2 (Ramamoorthi and Hanrahan, "An Efficient
    /// Representation for Irradiance Environment Maps", SIGGRAPH 2001): coefficients of 1, y, z, x, xy, yz, 3z^2-1, xz,
    /// x^2-y^2.
    const std::array<Color, 9>& getIrradiance() const { return m_Irradiance; }
    /// A number that is unique among the environments of this process.
    std::uint64_t getId() const { return m_Id; }

private:
    void append(const std::vector<Color>& square, int edge);

    std::vector<float> m_Table;
    std::array<Color, 9> m_Irradiance{};
    std::uint64_t m_Id;
};

/// The environment's irradiance divided by pi as a quadratic form in the normal: the colours that multiply 1, x, y, z,
/// xx, yy, zz, xy, yz and zx. `turn`: from the normal's axes to those of the environment. Thread: any.
TOV_EXPORT std::array<Environment::Color, 10> irradianceForm(const Environment& environment,
                                                             const tov::math::Matrix4& turn);

/// The radiance of the studio's key light, times pi. It is white.
constexpr float StudioKeyStrength = 0.5f;
/// The direction towards the studio's key light in eye axes: up to the left of the camera. Thread: any.
TOV_EXPORT Environment::Direction studioKeyDirection();

} // namespace tov::scene
