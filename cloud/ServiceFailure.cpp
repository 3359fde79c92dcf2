#include "cloud/ServiceFailure.h"

#include <QTextBoundaryFinder>

using namespace Qt::StringLiterals;

namespace
{
/// The first 120 grapheme clusters of \p body.
QString beginning(const QString &body)
{
    constexpr int characters = 120;
    // A cluster has no end of marks; more than this for one is no text, and looking for the
    // boundaries of a whole long body costs time and memory for nothing.
    constexpr int unitsForOne = 64;
    QString start = body.left(characters * unitsForOne);
    if (start.size() < body.size() && start.back().isHighSurrogate())
        start.chop(1);
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, start);
    qsizetype end = 0;
    for (int count = 0; count < characters && end < start.size(); ++count)
        end = finder.toNextBoundary();
    return start.left(end);
}

QString composed(const QString &prefix, const UploadError &error)
{
    // One after the other: the body may contain what looks like a place to fill in.
    return prefix + " (HTTP "_L1 + QString::number(error.status()) + u")："_s +
           beginning(error.body());
}
} // namespace

QString UploadError::description() const
{
    switch (m_kind) {
    case Case::signFailed:
        return composed(u"获取签名 URL 失败"_s, *this);
    case Case::ossPutFailed:
        return composed(u"上传到 OSS 失败"_s, *this);
    case Case::createMeetingFailed:
        return composed(u"创建会议记录失败"_s, *this);
    case Case::notLoggedIn:
        return u"未登录，无法上传"_s;
    case Case::unauthorized:
        return u"登录已过期，请重新登录"_s;
    case Case::invalidResponse:
        return u"服务器返回异常"_s;
    }
    Q_UNREACHABLE();
}
