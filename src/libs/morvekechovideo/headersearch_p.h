#ifndef MORVEK_ECHOVIDEO_HEADERSEARCH_P_H
#define MORVEK_ECHOVIDEO_HEADERSEARCH_P_H

namespace Morvek::EchoVideo::Internal {

/** The word that a picture's length follows. */
constexpr char HeaderTitle[] = "Content-Length";
constexpr int HeaderTitleLength = sizeof(HeaderTitle) - 1;

/** Forms of the search, of which all give the same answers. */
enum class eSearchForm { Portable, Avx2 };

/** Whether this processor can run a form. @thread any */
bool isSearchFormSupported(eSearchForm eForm);

/**
 * The last "Content-Length" that lies in these bytes as a whole.
 *
 * Every byte of a stream is searched, so this is to cost little more than reading it.
 *
 * @return where it starts; null if there is none
 * @thread any
 */
const char *lastHeaderIn(const char *pBegin, const char *pEnd, eSearchForm eForm);
/** The same, in the fastest form that this processor can run. */
const char *lastHeaderIn(const char *pBegin, const char *pEnd);

} // namespace Morvek::EchoVideo::Internal

#endif // MORVEK_ECHOVIDEO_HEADERSEARCH_P_H
