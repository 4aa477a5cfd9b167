#include "organizable.h"

#include <QtCore/QDataStream>
#include <QtCore/QMimeData>

#include <algorithm>

namespace Zorn {

Qt::ItemFlags OrganizableListModel::flags(const QModelIndex &index) const
{
    if (index.isValid() && index.model() == this && index.row() < rowCount())
        return Qt::ItemIsSelectable | Qt::ItemIsDragEnabled | Qt::ItemIsEnabled;
    return Qt::ItemIsDropEnabled;
}

Qt::DropActions OrganizableListModel::supportedDropActions() const
{
    return Qt::MoveAction;
}

bool OrganizableListModel::dropMimeData(const QMimeData *data, Qt::DropAction action, int row,
                                        int, const QModelIndex &)
{
    if (!data || action != Qt::MoveAction || data->formats().isEmpty())
        return false;
    const int count = rowCount();
    int target = std::max(row, 0);
    if (target >= count)
        target = count - 1;

    QByteArray encoded = data->data(data->formats().first());
    QDataStream stream(&encoded, QIODevice::ReadOnly);
    QList<int> rows;
    while (!stream.atEnd()) {
        int r, column;
        QMap<int, QVariant> roles;
        stream >> r >> column >> roles;
        if (stream.status() != QDataStream::Ok)
            break;
        if (r >= 0 && r < count && !rows.contains(r))
            rows.append(r);
    }
    std::sort(rows.begin(), rows.end(), std::greater<int>());

    // The dropped rows end up together, in their order, in front of the first row at or
    // behind target that was not dragged (at the end when there is none): the last one goes
    // there, each other one in front of the one placed before it. order mirrors the list as
    // the moves go.
    QList<int> order;
    for (int r = 0; r < count; ++r)
        order.append(r);
    int anchor = target;
    while (anchor < count && rows.contains(anchor))
        ++anchor;
    int front = anchor < count ? anchor : count; // the index to land in front of
    moveFromDrag = true;
    for (const int r : qAsConst(rows)) {
        const int from = order.indexOf(r);
        const int to = from < front ? front - 1 : front;
        if (from != to) {
            move(unsigned(from), unsigned(to));
            order.move(from, to);
        }
        front = to;
    }
    moveFromDrag = false;
    return false;
}

} // namespace Zorn
