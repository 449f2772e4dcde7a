#include "tests/gui/browser.h"

#include <QDesktopServices>
#include <QUrl>

namespace
{

constexpr const char* schemes[] = {"http", "https", "file"};

}

BROWSER::BROWSER()
{
    for (const char* scheme : schemes)
        QDesktopServices::setUrlHandler(scheme, this, "open");
}

BROWSER::~BROWSER()
{
    for (const char* scheme : schemes)
        QDesktopServices::unsetUrlHandler(scheme);
}

void BROWSER::open(const QUrl& url)
{
    opened.append(url.toString(QUrl::FullyEncoded));
}
