#include "base/Error.h"

#include <cerrno>

using namespace Qt::StringLiterals;

QString systemErrorText(int number)
{
    switch (number) {
    case EACCES:
    case EPERM:
        return u"没有权限"_s;
    case EROFS:
        return u"磁盘是只读的"_s;
    case ENOSPC:
    case EDQUOT:
        return u"磁盘空间不足"_s;
    case EFBIG:
        return u"文件过大"_s;
    case EIO:
        return u"磁盘读写出错"_s;
    case ENOENT:
        return u"文件或文件夹不存在"_s;
    case ENOTDIR:
    case EEXIST:
        return u"同名位置上不是文件夹"_s;
    case EISDIR:
        return u"同名位置上是文件夹"_s;
    case EMFILE:
    case ENFILE:
        return u"打开的文件过多"_s;
    case ENOMEM:
        return u"内存不足"_s;
    case ETIMEDOUT:
        return u"长时间没有响应"_s;
    case ECONNREFUSED:
    case EHOSTDOWN:
        return u"没有在运行"_s;
    default:
        return u"错误 %1"_s.arg(number);
    }
}
