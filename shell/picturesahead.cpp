#include "shell/picturesahead.h"

#include <QCoreApplication>
#include <QHash>
#include <QImage>

#include <algorithm>
#include <chrono>
#include <future>
#include <memory>
#include <system_error>
#include <vector>

namespace {

using Promises = std::vector<std::pair<QString, std::promise<QImage>>>;

// Pictures asked for and not yet taken, and the threads decoding them.
struct Ahead
{
    QHash<QString, std::shared_future<QImage>> pictures;
    std::vector<std::future<void>> threads;
};

Ahead &ahead()
{
    static Ahead instance;
    return instance;
}

// Decoding uses Qt's image readers, which go with the application: a thread still at work
// when the application ends is waited for while they are there.
void finishDecoding()
{
    for (const std::future<void> &thread : ahead().threads)
        thread.wait();
}

} // namespace

namespace PicturesAhead {

void decode(const QStringList &paths)
{
    auto promises = std::make_shared<Promises>();
    for (const QString &path : paths) {
        if (ahead().pictures.contains(path))
            continue;
        promises->emplace_back(path, std::promise<QImage>());
        ahead().pictures.insert(path, promises->back().second.get_future().share());
    }
    if (promises->empty())
        return;
    auto &threads = ahead().threads;
    static const bool waitedForAtExit = (qAddPostRoutine(finishDecoding), true);
    Q_UNUSED(waitedForAtExit);
    threads.erase(std::remove_if(threads.begin(), threads.end(),
                                 [](const std::future<void> &done) {
                                     return done.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
                                 }),
                  threads.end());
    try {
        threads.push_back(std::async(std::launch::async, [promises] {
            for (auto &[path, promise] : *promises)
                promise.set_value(QImage(path));
        }));
    } catch (const std::system_error &) {
        // No thread to be had: the pictures are read when they are taken.
        for (const auto &asked : *promises)
            ahead().pictures.remove(asked.first);
    }
}

QPixmap take(const QString &path)
{
    const auto found = ahead().pictures.constFind(path);
    if (found == ahead().pictures.cend())
        return QPixmap(path);
    QImage image = found->get();
    ahead().pictures.erase(found);
    return QPixmap::fromImage(std::move(image));
}

void takeOnce(QString &path, QPixmap &picture)
{
    if (path.isEmpty())
        return;
    picture = take(path);
    path.clear();
}

} // namespace PicturesAhead
