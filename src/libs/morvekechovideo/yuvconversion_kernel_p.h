/*
 * The fast conversion, in terms of vectors of 16-bit words.
 *
 * Included by one source file for each instruction set, which defines before: MORVEK_SIMD (the
 * attribute that lets a function use the instructions), Vector, Bytes (how many bytes a vector has)
 * and the operations used here. Hence no guard, and no include of its own.
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

MORVEK_SIMD inline sChannel channelOf(Vector whole, Vector high, Vector low)
{
    return {add(whole, high), exclusiveOr(low, words(0x7fff))};
}

MORVEK_SIMD inline sChromaBlock chromaOf(Vector cb, Vector cr)
{
    const Vector greenCbLow = multiplyLow(cb, words(-13975));
    const Vector greenCrLow = multiplyLow(cr, words(30611));
    const Vector signBit = words(short(-0x8000));
    const Vector greenCarry =
        isGreater(exclusiveOr(greenCbLow, signBit), exclusiveOr(greenCrLow, words(0x7fff)));
    const Vector greenHigh =
        subtract(add(multiplyHigh(cb, words(-13975)), multiplyHigh(cr, words(30611))), greenCarry);
    return {
        channelOf(add(cb, cb), multiplyHigh(cb, words(7366)), multiplyLow(cb, words(7366))),
        channelOf(subtract(words(0), cr), greenHigh, add(greenCbLow, greenCrLow)),
        channelOf(add(cr, cr), multiplyHigh(cr, words(-13583)), multiplyLow(cr, words(-13583)))};
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
MORVEK_SIMD inline void convertRow(Vector y, const sChromaBlock &chroma, quint32 *pPixels)
{
    const sLuma even = lumaOf(evenBytes(y));
    const sLuma odd = lumaOf(oddBytes(y));
    const Vector blue = pack(valueOf(even, chroma.m_blue), valueOf(odd, chroma.m_blue));
    const Vector green = pack(valueOf(even, chroma.m_green), valueOf(odd, chroma.m_green));
    const Vector red = pack(valueOf(even, chroma.m_red), valueOf(odd, chroma.m_red));
    const Vector opaque = words(-1);

    const Vector evenBlueGreen = interleaveLowBytes(blue, green);
    const Vector oddBlueGreen = interleaveHighBytes(blue, green);
    const Vector evenRedAlpha = interleaveLowBytes(red, opaque);
    const Vector oddRedAlpha = interleaveHighBytes(red, opaque);
    const Vector evenFirst = interleaveLowWords(evenBlueGreen, evenRedAlpha);
    const Vector evenSecond = interleaveHighWords(evenBlueGreen, evenRedAlpha);
    const Vector oddFirst = interleaveLowWords(oddBlueGreen, oddRedAlpha);
    const Vector oddSecond = interleaveHighWords(oddBlueGreen, oddRedAlpha);
    storePixels(pPixels, interleaveLowPixels(evenFirst, oddFirst),
                interleaveHighPixels(evenFirst, oddFirst),
                interleaveLowPixels(evenSecond, oddSecond),
                interleaveHighPixels(evenSecond, oddSecond));
}

MORVEK_SIMD int convertBlocks(const sYuvRowPair &rows, int nWidth)
{
    int i = 0;
    for (; i + Bytes <= nWidth; i += Bytes) {
        const Vector cb = subtract(loadChroma(rows.m_pCb + i / 2), words(128));
        const Vector cr = subtract(loadChroma(rows.m_pCr + i / 2), words(128));
        const sChromaBlock chroma = chromaOf(cb, cr);
        convertRow(loadLuma(rows.m_pUpperY + i), chroma, rows.m_pUpperPixels + i);
        convertRow(loadLuma(rows.m_pLowerY + i), chroma, rows.m_pLowerPixels + i);
    }
    return i;
}

} // namespace
