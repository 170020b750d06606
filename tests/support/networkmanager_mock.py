'''NetworkManager whose connections activate the way a test asks

python-dbusmock's own NetworkManager template, one device, and the connections given in the
parameter "connections", a map from connection id to how its activation goes (each connection's
UUID is uuid5(NAMESPACE_OID, id)):

  up        activated at once
  slow      activating, activated 200 ms later
  fail:N    activating, deactivated 100 ms later with reason N
  hang      activating, and it stays so

Deactivating takes 100 ms (deactivating, then deactivated and gone). Added mock method
Drop(id, reason): the connection goes down unasked, as when the carrier is lost.
As NetworkManager does, an activation's new state goes out as a property change first, then in its
StateChanged signal with the reason.
'''

import uuid

import dbus
from gi.repository import GLib

import dbusmock
from dbusmock import MOCK_IFACE
from dbusmock.templates import networkmanager as stock
# The stock objects and its mock methods; load() below replaces the stock one.
from dbusmock.templates.networkmanager import *  # noqa: F401,F403 pylint: disable=wildcard-import,unused-wildcard-import

ACTIVATING, ACTIVATED, DEACTIVATING, DEACTIVATED = 1, 2, 3, 4
DEVICE = '/org/freedesktop/NetworkManager/Devices/wwan0'
BEHAVIOUR = {}
COUNTER = [0]


def load(mock, parameters):
    stock.load(mock, {})
    mock.AddEthernetDevice('wwan0', 'wwan0', stock.DeviceState.DISCONNECTED)
    settings = dbusmock.get_object(stock.SETTINGS_OBJ)
    for name, behaviour in parameters.get('connections', {}).items():
        BEHAVIOUR[str(name)] = str(behaviour)
        settings.SettingsAddConnection({
            'connection': {'id': str(name), 'uuid': str(uuid.uuid5(uuid.NAMESPACE_OID, str(name))), 'type': 'gsm'},
            'gsm': {'apn': 'internet'},
        })
    manager = dbusmock.get_object(stock.MANAGER_OBJ)
    manager.AddMethod(stock.MANAGER_IFACE, 'ActivateConnection', 'ooo', 'o', activate)
    manager.AddMethod(stock.MANAGER_IFACE, 'DeactivateConnection', 'o', '', deactivate)


def activate(manager, connection, _device, _specific):
    name = str(dbusmock.get_object(connection).settings['connection']['id'])
    behaviour = BEHAVIOUR.get(name, 'up')
    COUNTER[0] += 1
    path = manager.AddActiveConnection([DEVICE], connection, '/', str(COUNTER[0]),
                                       ACTIVATED if behaviour == 'up' else ACTIVATING)
    if behaviour == 'slow':
        GLib.timeout_add(200, change_state, path, ACTIVATED, 1)
    elif behaviour.startswith('fail:'):
        GLib.timeout_add(100, end, manager, path, int(behaviour[5:]))
    return dbus.ObjectPath(path)


def deactivate(manager, path):
    change_state(path, DEACTIVATING, 2)
    GLib.timeout_add(100, end, manager, path, 2)


def change_state(path, state, reason):
    active = dbusmock.get_object(path)
    active.Set(stock.ACTIVE_CONNECTION_IFACE, 'State', dbus.UInt32(state))
    active.EmitSignal(stock.ACTIVE_CONNECTION_IFACE, 'StateChanged', 'uu', [dbus.UInt32(state), dbus.UInt32(reason)])
    return False


def end(manager, path, reason):
    change_state(path, DEACTIVATED, reason)
    manager.RemoveActiveConnection(DEVICE, path)
    return False


@dbus.service.method(MOCK_IFACE, in_signature='su', out_signature='')
def Drop(self, name, reason):
    manager = dbusmock.get_object(stock.MANAGER_OBJ)
    for path in list(manager.Get(stock.MANAGER_IFACE, 'ActiveConnections')):
        if dbusmock.get_object(path).Get(stock.ACTIVE_CONNECTION_IFACE, 'Id') == name:
            end(manager, path, reason)
