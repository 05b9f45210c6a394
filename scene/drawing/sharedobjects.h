#pragma once

#include "scene/drawing/environment.h"
#include "scene/material.h"

#include <memory>

namespace tov::scene {

/// OpenGL objects that all contexts of a share group use: programs, textures and samplers, made when they are first
/// needed and finished when these functions return. Thread: the current context's, for all functions.
namespace shared {

/// A program with these `ShaderFeature`s; 0 when the driver cannot make it, which is logged once.
unsigned int program(unsigned int features);

/// A texture with mipmaps; one upload per image, twice only where it is used both as colours (`isSrgb`) and as numbers.
/// Textures larger than the driver's limit are scaled down. 0 when there is nothing to upload or the upload failed.
unsigned int texture(const std::shared_ptr<const Image>& image, bool isSrgb);

/// The table of an environment.
unsigned int environmentTexture(const std::shared_ptr<const Environment>& environment);

/// How a texture is sampled; 0: as set in the texture object.
unsigned int sampler(const Texture& texture);

/// Frees the textures of images that no longer exist.
void collect();

} // namespace shared

} // namespace tov::scene
