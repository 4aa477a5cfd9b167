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

    moveFromDrag = true;
    while (!rows.isEmpty()) {
        const int r = rows.takeLast();
        if (r == target) {
            // It already stands there: the rows after it follow it, in order.
            ++target;
        } else if (r > target) {
            move(unsigned(r), unsigned(target));
            for (int &other : rows)
                if (other >= target && other < r)
                    ++other;
            ++target;
        } else {
            if (r != target - 1)
                move(unsigned(r), unsigned(target - 1));
            for (int &other : rows)
                if (other > r && other <= target)
                    --other;
        }
    }
    moveFromDrag = false;
    return false;
}

} // namespace Zorn
