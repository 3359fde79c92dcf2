#include "platform/HttpSession.h"

using namespace Qt::StringLiterals;

namespace
{

QString sentence(TransportError::Kind kind)
{
    switch (kind) {
    case TransportError::Kind::refusedAddress:
        return u"服务器地址无效，没有发送任何数据"_s;
    case TransportError::Kind::refusedHeader:
        return u"请求内容无效，没有发送任何数据"_s;
    case TransportError::Kind::unreadableFile:
        return u"无法读取要上传的文件"_s;
    case TransportError::Kind::noConnection:
        return u"无法连接服务器，请检查网络"_s;
    case TransportError::Kind::timedOut:
        return u"网络长时间没有响应，请稍后再试"_s;
    case TransportError::Kind::untrusted:
        return u"服务器的证书不可信，已中止连接"_s;
    case TransportError::Kind::brokenReply:
        return u"与服务器的连接中断，没有收到完整的回复"_s;
    case TransportError::Kind::cancelled:
        return u"请求已取消"_s;
    }
    Q_UNREACHABLE();
}

} // namespace

QString TransportError::description() const
{
    const QString text = sentence(m_kind);
    return m_technicalText.isEmpty() ? text : u"%1（%2）"_s.arg(text, m_technicalText);
}
