#pragma once

#include "scene/drawing/environment.h"
#include "scene/material.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace tov::test {

typedef std::array<double, 3> Vec;

inline Vec operator+(const Vec& a, const Vec& b)
{
    return {a[0] + b[0], a[1] + b[1], a[2] + b[2]};
}
inline Vec operator-(const Vec& a, const Vec& b)
{
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}
inline Vec operator*(const Vec& a, const Vec& b)
{
    return {a[0] * b[0], a[1] * b[1], a[2] * b[2]};
}
inline Vec operator*(const Vec& a, double b)
{
    return {a[0] * b, a[1] * b, a[2] * b};
}
inline double dot(const Vec& a, const Vec& b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}
inline Vec cross(const Vec& a, const Vec& b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
inline Vec normalized(const Vec& a)
{
    return a * (1 / std::sqrt(dot(a, a)));
}

inline double encodedSrgb(double linear)
{
    return linear <= 0.0031308 ? 12.92 * linear : 1.055 * std::pow(linear, 1 / 2.4) - 0.055;
}

/// The material model in double precision, written from the defining formulas and independent of the shaders.
struct MaterialModel
{
    const tov::scene::Environment* environment = nullptr;
    Vec keyDirection = {0, 0, 1};
    double keyRadiance = 0; ///< times pi; 0: no key light
    double exposure = 1;

    Vec baseColor = {1, 1, 1};
    double metallic = 0;
    double roughness = 1;
    double indexOfRefraction = 1.5;
    Vec emissive = {0, 0, 0};
    double occlusion = 1;
    double clearcoat = 0;
    double clearcoatRoughness = 0;
    double transmission = 0;

    /// The light that leaves the surface, and the light that it reflects.
    struct Parts
    {
        Vec inside;
        Vec mirror;
    };

    /// Light that comes from the environment for a rough reflection.
    Vec reflected(const Vec& direction, double rough) const
    {
        using tov::scene::Environment;
        const double sum = std::fabs(direction[0]) + std::fabs(direction[1]) + std::fabs(direction[2]);
        double x = direction[0] / sum, y = direction[1] / sum;
        if (direction[2] < 0) {
            const double oldX = x;
            x = (1 - std::fabs(y)) * (oldX >= 0 ? 1 : -1);
            y = (1 - std::fabs(oldX)) * (y >= 0 ? 1 : -1);
        }
        const double column = (x + 1) / 2 * (Environment::Edge - 2) + 0.5;
        const double row = (y + 1) / 2 * (Environment::Edge - 2) + 0.5;
        const double level = rough * (Environment::Levels - 1);
        const int c0 = int(column), r0 = int(row), l0 = std::min(int(level), Environment::Levels - 2);
        Vec result = {0, 0, 0};
        for (int corner = 0; corner < 8; ++corner) {
            const int c = c0 + (corner & 1), r = r0 + (corner >> 1 & 1), l = l0 + (corner >> 2);
            const double weight = (1 - std::fabs(column - c)) * (1 - std::fabs(row - r)) * (1 - std::fabs(level - l));
            const std::size_t at =
                3 * ((std::size_t(l) * Environment::Edge + std::size_t(r)) * Environment::Edge + std::size_t(c));
            for (std::size_t k = 0; k < 3; ++k)
                result[k] += weight * environment->getTable()[at + k];
        }
        return result;
    }
    Vec irradiance(const Vec& n) const
    {
        const auto& sh = environment->getIrradiance();
        const double basis[9] = {
            1, n[1], n[2], n[0], n[0] * n[1], n[1] * n[2], 3 * n[2] * n[2] - 1, n[0] * n[2], n[0] * n[0] - n[1] * n[1]};
        Vec result = {0, 0, 0};
        for (std::size_t k = 0; k < 9; ++k)
            for (std::size_t c = 0; c < 3; ++c)
                result[c] += basis[k] * sh[k][c];
        for (double& value : result)
            value = std::max(value, 0.0);
        return result;
    }
    /// The light that a point sends to the eye, linear, before tone mapping.
    Parts parts(Vec n, const Vec& toEye) const
    {
        n = normalized(n);
        const double rough = std::max(roughness, 0.045);
        const double cosView = std::clamp(dot(n, toEye), 1e-3, 1.0);
        const double dielectric = std::pow((indexOfRefraction - 1) / (indexOfRefraction + 1), 2);
        const auto [a, b] = reflectance(rough, cosView);
        const double lost = 1 - a - b;
        const Vec around = irradiance(n) * occlusion;
        const Vec mirrored = n * (2 * dot(n, toEye)) - toEye;
        const Vec mirrorLight = reflected(mirrored, rough) * occlusion;
        const double key = keyRadiance * std::clamp(dot(n, keyDirection), 0.0, 1.0);
        Parts result;
        for (std::size_t c = 0; c < 3; ++c) {
            const double f0 = dielectric + (baseColor[c] - dielectric) * metallic;
            const double single = f0 * a + b;
            const double mean = f0 + (1 - f0) / 21;
            const double multiple = single * mean * lost / (1 - mean * lost);
            const double diffuse = baseColor[c] * (1 - metallic) * (1 - single - multiple);
            result.inside[c] = diffuse * (around[c] + key) + emissive[c];
            result.mirror[c] = single * mirrorLight[c] + multiple * around[c] +
                               key * highlight(n, toEye, f0, rough, cosView) * (1 + lost);
        }
        const double coatRough = std::max(clearcoatRoughness, 0.045);
        const auto [coatA, coatB] = reflectance(coatRough, cosView);
        const double coating = clearcoat * (0.04 * coatA + coatB);
        const double coatKey = key * clearcoat * highlight(n, toEye, 0.04, coatRough, cosView);
        result.inside = result.inside * ((1 - coating) * (1 - 0.85 * transmission));
        result.mirror = result.mirror * (1 - coating) + reflected(mirrored, coatRough) * (occlusion * coating) +
                        Vec{coatKey, coatKey, coatKey};
        return result;
    }
    /// The encoded colour of a point, each channel from 0 to 1.
    Vec shaded(const Vec& n, const Vec& toEye) const
    {
        const Parts light = parts(n, toEye);
        Vec color = toneMapped((light.inside + light.mirror) * exposure);
        for (double& value : color)
            value = std::clamp(encodedSrgb(value), 0.0, 1.0);
        return color;
    }
    /// The opacity of a point: glass hides at least the share that it reflects.
    double opacity(const Vec& n, const Vec& toEye) const
    {
        const Vec mirror = parts(n, toEye).mirror;
        const double hidden = std::clamp(0.12 + std::max({mirror[0], mirror[1], mirror[2]}), 0.0, 1.0);
        return 1 + transmission * (hidden - 1);
    }

private:
    /// Scale and bias of the normal reflectance (Karis, "Physically Based Shading on Mobile", 2014).
    static std::array<double, 2> reflectance(double rough, double cosView)
    {
        const double rx = 1 - rough, ry = 0.0425 - 0.0275 * rough, rz = 1.04 - 0.572 * rough, rw = 0.022 * rough - 0.04;
        const double a004 = std::min(rx * rx, std::exp2(-9.28 * cosView)) * rx + ry;
        return {-1.04 * a004 + rz, 1.04 * a004 + rw};
    }
    double highlight(const Vec& n, const Vec& toEye, double f0, double rough, double cosView) const
    {
        const Vec halfway = normalized(keyDirection + toEye);
        const double alpha = rough * rough, cosHalf = std::clamp(dot(n, halfway), 0.0, 1.0);
        const double cosLight = std::clamp(dot(n, keyDirection), 0.0, 1.0);
        const double shape = cosHalf * cosHalf * (alpha * alpha - 1) + 1;
        const double distribution = alpha * alpha / (shape * shape);
        const double twoProduct = 2 * cosLight * cosView;
        const double visibility = 0.5 / std::max(twoProduct + (cosLight + cosView - twoProduct) * alpha, 1e-4);
        const double away = 1 - std::clamp(dot(toEye, halfway), 0.0, 1.0);
        return distribution * visibility * (f0 + (1 - f0) * std::pow(away, 5));
    }
    /// Khronos PBR Neutral Tone Mapper, as in its specification.
    static Vec toneMapped(Vec c)
    {
        const double low = std::min({c[0], c[1], c[2]});
        const double shift = low < 0.08 ? low - 6.25 * low * low : 0.04;
        for (double& value : c)
            value -= shift;
        const double peak = std::max({c[0], c[1], c[2]});
        const double start = 0.8 - 0.04;
        if (peak < start)
            return c;
        const double room = 1 - start;
        const double mapped = 1 - room * room / (peak + room - start);
        const double gray = 1 - 1 / (0.15 * (peak - mapped) + 1);
        for (double& value : c)
            value = value * mapped / peak * (1 - gray) + mapped * gray;
        return c;
    }
};

} // namespace tov::test
