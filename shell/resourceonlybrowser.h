#pragma once

#include <QTextBrowser>

// A text browser that shows pages from the program's own resources and nothing else.
// The home page inserts the board's hardware text as markup, so a board (or anything
// that pretends to be one) could name files, web addresses or inline data; none of those
// is ever read. Links are not followed either.
class ResourceOnlyBrowser : public QTextBrowser
{
    Q_OBJECT
public:
    explicit ResourceOnlyBrowser(QWidget *parent = nullptr);

    // Whether a page may pull in `url`: only "qrc:" and ":/" resources.
    static bool isOwnResource(const QUrl &url);

    QVariant loadResource(int type, const QUrl &name) override;
};
