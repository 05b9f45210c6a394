#include "scene/import/process/assimpscene.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace tov::importer {

namespace {

/// The default for files without a rate: 3D Studio has 30 frames per second; for others it is the library's own value.
double defaultTicksPerSecond(const std::string& suffix)
{
    return suffix == "3ds" ? 30 : 25;
}

template <typename Key>
ChannelData vectorChannel(const Key* keys, unsigned int count, double perSecond, std::uint32_t node, std::uint8_t path)
{
    ChannelData channel;
    channel.node = node;
    channel.path = path;
    for (unsigned int i = 0; i < count; ++i) {
        channel.times.push_back(keys[i].mTime / perSecond);
        channel.values.insert(channel.values.end(),
                              {float(keys[i].mValue.x), float(keys[i].mValue.y), float(keys[i].mValue.z)});
    }
    return channel;
}

/// The keys of 3D Studio turn a node further, each about an axis of its parent. The library adds them up in the wrong
/// order, as if about axes of the node.
std::vector<aiQuatKey> turnsInParent(const aiQuatKey* keys, unsigned int count)
{
    std::vector<aiQuatKey> turns(keys, keys + count);
    for (unsigned int i = 1; i < count; ++i) {
        aiQuaternion back = keys[i - 1].mValue;
        turns[i].mValue = back.Conjugate() * keys[i].mValue * turns[i - 1].mValue;
    }
    return turns;
}

ChannelData rotationChannel(const std::vector<aiQuatKey>& keys, double perSecond, std::uint32_t node)
{
    ChannelData channel;
    channel.node = node;
    channel.path = 1;
    for (const aiQuatKey& key : keys) {
        channel.times.push_back(key.mTime / perSecond);
        channel.values.insert(channel.values.end(),
                              {float(key.mValue.x), float(key.mValue.y), float(key.mValue.z), float(key.mValue.w)});
    }
    return channel;
}

ChannelData morphChannel(const aiMeshMorphAnim& from, double perSecond, std::uint32_t node, std::size_t targets)
{
    ChannelData channel;
    channel.node = node;
    channel.path = 3;
    for (unsigned int i = 0; i < from.mNumKeys; ++i) {
        const aiMeshMorphKey& key = from.mKeys[i];
        channel.times.push_back(key.mTime / perSecond);
        const std::size_t begin = channel.values.size();
        channel.values.resize(begin + targets, 0.0f);
        for (unsigned int k = 0; k < key.mNumValuesAndWeights; ++k)
            if (key.mValues[k] < targets)
                channel.values[begin + key.mValues[k]] = float(key.mWeights[k]);
    }
    return channel;
}

/// Some formats store the keys of a channel in any order.
void sortKeys(ChannelData& channel, std::size_t each)
{
    if (channel.values.size() != channel.times.size() * each ||
        std::is_sorted(channel.times.begin(), channel.times.end()) ||
        !std::all_of(channel.times.begin(), channel.times.end(), [](double time) { return std::isfinite(time); }))
        return;
    std::vector<std::size_t> order(channel.times.size());
    for (std::size_t i = 0; i < order.size(); ++i)
        order[i] = i;
    std::stable_sort(order.begin(), order.end(),
                     [&channel](std::size_t a, std::size_t b) { return channel.times[a] < channel.times[b]; });
    ChannelData sorted = channel;
    for (std::size_t i = 0; i < order.size(); ++i) {
        sorted.times[i] = channel.times[order[i]];
        std::copy_n(channel.values.begin() + std::ptrdiff_t(order[i] * each), each,
                    sorted.values.begin() + std::ptrdiff_t(i * each));
    }
    channel = std::move(sorted);
}

} // namespace

void AssimpScene::writeNodeChannels(const aiNodeAnim& from, double perSecond, const std::string& place,
                                    std::vector<ChannelData>& channels)
{
    const auto node = m_NodeByName.find(from.mNodeName.C_Str());
    if (node == m_NodeByName.end()) {
        m_Writer.addWarning(place + " moves the node '" + from.mNodeName.C_Str() + "', which does not exist");
        return;
    }
    const std::uint32_t index = node->second;
    const auto add = [&](ChannelData channel, std::size_t each) {
        if (channel.times.empty())
            return;
        sortKeys(channel, each);
        if (cleanKeys(channel, each, place, m_Writer))
            channels.push_back(std::move(channel));
    };
    add(vectorChannel(from.mPositionKeys, from.mNumPositionKeys, perSecond, index, 0), 3);
    const aiQuatKey* keys = from.mRotationKeys;
    const bool addsUp = m_Job.suffix == "3ds";
    add(rotationChannel(addsUp ? turnsInParent(keys, from.mNumRotationKeys)
                               : std::vector<aiQuatKey>(keys, keys + from.mNumRotationKeys),
                        perSecond, index),
        4);
    add(vectorChannel(from.mScalingKeys, from.mNumScalingKeys, perSecond, index, 2), 3);
}

void AssimpScene::writeMorphChannel(const aiMeshMorphAnim& from, double perSecond, const std::string& place,
                                    std::vector<ChannelData>& channels)
{
    // "name*3" for the fourth part of a mesh.
    std::string name = from.mName.C_Str();
    name.erase(std::min(name.find('*'), name.size()));
    for (const auto& [owner, node] : m_MorphedNodes) {
        if (owner != name)
            continue;
        ChannelData channel = morphChannel(from, perSecond, node.index, node.targets);
        sortKeys(channel, node.targets);
        if (cleanKeys(channel, node.targets, place, m_Writer))
            channels.push_back(std::move(channel));
    }
}

void AssimpScene::writeAnimations()
{
    for (unsigned int i = 0; i < m_Scene.mNumAnimations; ++i) {
        const aiAnimation& from = *m_Scene.mAnimations[i];
        const double perSecond = std::isfinite(from.mTicksPerSecond) && from.mTicksPerSecond > 0
                                     ? from.mTicksPerSecond
                                     : defaultTicksPerSecond(m_Job.suffix);
        const std::string name = from.mName.C_Str();
        const std::string place = name.empty() ? "animation " + std::to_string(i) : "animation '" + name + "'";
        std::vector<ChannelData> channels;
        for (unsigned int k = 0; k < from.mNumChannels; ++k)
            writeNodeChannels(*from.mChannels[k], perSecond, place, channels);
        for (unsigned int k = 0; k < from.mNumMorphMeshChannels; ++k)
            writeMorphChannel(*from.mMorphMeshChannels[k], perSecond, place, channels);
        m_Writer.addAnimation(name, channels);
    }
}

} // namespace tov::importer
