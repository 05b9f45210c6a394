#pragma once

#include "grab/video/encoder.h"

/// A complete small encoder: copies every chunk to the output file as it is.
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

/// The factory that plug-ins register.
inline tov::grab::video::Encoder* createCopying(void*)
{
    return new Copying;
}
