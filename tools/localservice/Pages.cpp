#include "tools/localservice/Pages.h"

using namespace Qt::StringLiterals;

namespace
{

QByteArray page(const QString &title, const QString &content)
{
    return u"<!DOCTYPE html>\n<html lang=\"zh-CN\"><head><meta charset=\"utf-8\">"
           "<meta name=\"viewport\" content=\"width=device-width\"><title>%1</title><style>"
           "body{font:16px/1.6 sans-serif;max-width:40em;margin:3em auto;padding:0 1em;color:#222}"
           "input,button{font:inherit;padding:.4em .8em}audio{width:100%}small{color:#777}"
           "</style></head><body><h1>%1</h1>%2</body></html>\n"_s
               .arg(title.toHtmlEscaped(), content)
               .toUtf8();
}

QString durationText(const QJsonObject &meeting)
{
    const qint64 seconds = meeting[u"durationSeconds"_s].toInteger();
    return u"%1 分 %2 秒"_s.arg(seconds / 60).arg(seconds % 60);
}

} // namespace

QByteArray Pages::signIn(const QString &state)
{
    return page(
        u"登录"_s,
        u"<form method=\"post\" action=\"/desktop-auth\">"
        "<input type=\"hidden\" name=\"state\" value=\"%1\">"
        "<p><label>邮箱 <input type=\"email\" name=\"email\" required autofocus></label></p>"
        "<p><button>登录并返回应用</button></p></form>"
        "<p><small>这是本机上的演示服务，任何邮箱都可以登录。</small></p>"_s.arg(
            state.toHtmlEscaped()));
}

QByteArray Pages::signedIn(const QString &callback)
{
    return page(u"登录成功"_s,
                u"<p>正在返回应用。如果没有自动返回，请<a href=\"%1\">点击这里</a>。</p>"_s.arg(
                    callback.toHtmlEscaped()));
}

QByteArray Pages::home()
{
    return page(u"Parlovance 本机服务"_s,
                u"<p><a href=\"/app\">会议列表</a></p>"
                "<h2 id=\"download\">下载</h2><p>演示服务没有可下载的版本。</p>"_s);
}

QByteArray Pages::meetings(const QJsonArray &meetings)
{
    QString items;
    for (const auto &value : meetings) {
        const QJsonObject meeting = value.toObject();
        items += u"<li><a href=\"/app/meetings/%1\">%2</a> <small>%3</small></li>"_s.arg(
            meeting[u"id"_s].toString().toHtmlEscaped(),
            meeting[u"title"_s].toString().toHtmlEscaped(), durationText(meeting));
    }
    return page(u"会议"_s,
                items.isEmpty() ? u"<p>还没有会议。</p>"_s : u"<ul>%1</ul>"_s.arg(items));
}

QByteArray Pages::meeting(const QJsonObject &meeting)
{
    return page(
        meeting[u"title"_s].toString(),
        u"<p><small>%1，%2</small></p><audio controls preload=\"metadata\" src=\"%3\"></audio>"
        "<p><a href=\"/app\">会议列表</a></p>"_s.arg(
            meeting[u"startedAt"_s].toString().toHtmlEscaped(), durationText(meeting),
            meeting[u"audioUrl"_s].toString().toHtmlEscaped()));
}

QByteArray Pages::problem(const QString &text)
{
    return page(u"出错了"_s, u"<p>%1</p>"_s.arg(text.toHtmlEscaped()));
}
