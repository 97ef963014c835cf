/*
 * The fast conversion, in terms of vectors of 16-bit words.
 *
 * Included by one source file for each instruction set, which defines before: MORVEK_SIMD (the
 * attribute that lets a function use the instructions), Vector, Bytes (how many bytes a vector has)
 * and the operations used here. Hence no guard, and no include of its own. A block is as many pixels
 * as a vector has bytes.
 *
 * The products need more than 16 bits. Each factor is split into a multiple of 65536, which comes
 * through the shift as it is, and a rest that fits a signed word:
 *     76309 = 65536 + 10773             138438 = 2 x 65536 + 7366
 *     -34925 = -65536 + 30611           117489 = 2 x 65536 - 13583
 * The rest's product is kept as a high and a low word. The shifted sum of two such products is the
 * sum of their high words, plus one if the low words carry: exact, with no 32-bit step.
 */

namespace {

// A sum in units of 1 / 65536, prepared so that one comparison finds the carry of the low words.
struct sChannel
{
    Vector m_high;
    Vector m_carryAbove;
};

struct sChromaBlock
{
    sChannel m_blue;
    sChannel m_green;
    sChannel m_red;
};

// The same chroma serves two rows: it is worked out once, for a stretch of both. Then one row
// follows the other, because memory is written faster in one place at a time than in two.
constexpr int StretchWidth = 2048; // pixels: a whole row of an echo picture
constexpr int StretchBlocks = StretchWidth / Bytes;

MORVEK_SIMD inline void setChannel(sChannel &channel, Vector whole, Vector high, Vector low)
{
    channel.m_high = add(whole, high);
    channel.m_carryAbove = exclusiveOr(low, words(0x7fff));
}

MORVEK_SIMD inline void setChroma(sChromaBlock &chroma, Vector cb, Vector cr)
{
    const Vector greenCbLow = multiplyLow(cb, words(-13975));
    const Vector greenCrLow = multiplyLow(cr, words(30611));
    const Vector signBit = words(short(-0x8000));
    const Vector greenCarry =
        isGreater(exclusiveOr(greenCbLow, signBit), exclusiveOr(greenCrLow, words(0x7fff)));
    const Vector greenHigh =
        subtract(add(multiplyHigh(cb, words(-13975)), multiplyHigh(cr, words(30611))), greenCarry);
    setChannel(chroma.m_blue, add(cb, cb), multiplyHigh(cb, words(7366)),
               multiplyLow(cb, words(7366)));
    setChannel(chroma.m_green, subtract(words(0), cr), greenHigh, add(greenCbLow, greenCrLow));
    setChannel(chroma.m_red, add(cr, cr), multiplyHigh(cr, words(-13583)),
               multiplyLow(cr, words(-13583)));
}

MORVEK_SIMD void setChromaStretch(sChromaBlock *pChroma, const uchar *pCb, const uchar *pCr,
                                  int nBlocks)
{
    for (int i = 0; i < nBlocks; ++i) {
        const int nOffset = i * Bytes / 2;
        setChroma(pChroma[i], subtract(loadChroma(pCb + nOffset), words(128)),
                  subtract(loadChroma(pCr + nOffset), words(128)));
    }
}

struct sLuma
{
    Vector m_high;
    Vector m_low; // with the sign bit turned, for an unsigned comparison
};

MORVEK_SIMD inline sLuma lumaOf(Vector y)
{
    const Vector luma = subtract(y, words(16));
    return {add(luma, multiplyHigh(luma, words(10773))),
            exclusiveOr(multiplyLow(luma, words(10773)), words(short(-0x8000)))};
}

// The words are clamped when they are packed to bytes.
MORVEK_SIMD inline Vector valueOf(const sLuma &luma, const sChannel &channel)
{
    return subtract(add(luma.m_high, channel.m_high), isGreater(luma.m_low, channel.m_carryAbove));
}

// Even and odd pixels go separately, because the two of a pair share their chroma.
MORVEK_SIMD inline Vector bytesOf(const sLuma &even, const sLuma &odd, const sChannel &channel)
{
    return inPixelOrder(pack(valueOf(even, channel), valueOf(odd, channel)));
}

MORVEK_SIMD inline void convertBlock(Vector y, const sChromaBlock &chroma, quint32 *pPixels)
{
    const sLuma even = lumaOf(evenBytes(y));
    const sLuma odd = lumaOf(oddBytes(y));
    const Vector blue = bytesOf(even, odd, chroma.m_blue);
    const Vector green = bytesOf(even, odd, chroma.m_green);
    const Vector red = bytesOf(even, odd, chroma.m_red);
    const Vector opaque = words(-1);

    const Vector leftBlueGreen = interleaveLowBytes(blue, green);
    const Vector leftRedAlpha = interleaveLowBytes(red, opaque);
    const Vector rightBlueGreen = interleaveHighBytes(blue, green);
    const Vector rightRedAlpha = interleaveHighBytes(red, opaque);
    storePixels(pPixels, interleaveLowWords(leftBlueGreen, leftRedAlpha),
                interleaveHighWords(leftBlueGreen, leftRedAlpha),
                interleaveLowWords(rightBlueGreen, rightRedAlpha),
                interleaveHighWords(rightBlueGreen, rightRedAlpha));
}

MORVEK_SIMD void convertStretch(const uchar *pLuma, const sChromaBlock *pChroma, int nBlocks,
                                quint32 *pPixels)
{
    for (int i = 0; i < nBlocks; ++i)
        convertBlock(loadLuma(pLuma + i * Bytes), pChroma[i], pPixels + i * Bytes);
}

MORVEK_SIMD int convertBlocks(const sYuvRowPair &rows, int nWidth)
{
    sChromaBlock chroma[StretchBlocks];
    const int nConverted = nWidth - nWidth % Bytes;
    for (int x = 0; x < nConverted; x += StretchWidth) {
        const int nBlocks = qMin(nConverted - x, StretchWidth) / Bytes;
        setChromaStretch(chroma, rows.m_pCb + x / 2, rows.m_pCr + x / 2, nBlocks);
        convertStretch(rows.m_pUpperY + x, chroma, nBlocks, rows.m_pUpperPixels + x);
        convertStretch(rows.m_pLowerY + x, chroma, nBlocks, rows.m_pLowerPixels + x);
    }
    return nConverted;
}

} // namespace
