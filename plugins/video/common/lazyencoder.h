#pragma once

#include "grab/video/encoder.h"
#include "plugins/video/common/coderlibrary.h"

#include <future>
#include <memory>

namespace tov::plugins::video {

/// The encoder of all our formats. Its coder is in the coder library, which is loaded while the first chunk is
/// captured.
class LazyEncoder : public tov::grab::video::Encoder
{
    Q_OBJECT
public:
    /// `format` must outlive the encoder; null: numbered pictures.
    explicit LazyEncoder(const Format* format);
    ~LazyEncoder() override;

protected:
    bool initEncoding(QIODevice* firstChunk, bool isLast) override;
    bool encodeChunk(QIODevice* chunk, bool isLast) override;
    void finishEncoding() override;

private:
    CoderJob job() const;
    void dropFrames(const QIODevice* chunk) const;

    const Format* mp_Format; ///< not owned
    std::future<void> m_Loading;
    std::unique_ptr<Coder> m_Coder; ///< null until the first chunk, and when the library cannot be loaded
    bool m_Lost = false;            ///< the library could not be loaded
};

} // namespace tov::plugins::video
