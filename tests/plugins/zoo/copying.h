#pragma once

#include "grab/video/encoder.h"

/// A whole small encoder: copies every chunk to the output file as it is.
class Copying : public tov::grab::video::Encoder
{
protected:
    bool initEncoding(QIODevice*, bool) override { return true; }
    bool encodeChunk(QIODevice* chunk, bool) override
    {
        if (!chunk || !mp_OutputFile)
            return true;
        chunk->seek(0);
        return mp_OutputFile->write(chunk->readAll()) == chunk->size();
    }
    void finishEncoding() override {}
};

/// What makes one, as plug-ins register it.
inline tov::grab::video::Encoder* createCopying(void*)
{
    return new Copying;
}
