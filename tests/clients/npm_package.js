// A host that uses the npm package ftdi-d2xx as its documentation says: finds the chip, opens channel B in each
// possible way, switches it to pins, and takes a picture. It writes its results to a file, because Node.js in Wine
// cannot write to a pipe.
'use strict';

const fs = require('fs');
const [, , packageFolder, resultFile] = process.argv;
const ftdi = require(packageFolder);

const kSetHigh = 0x82;
const kOutputs = 0x4f;
const codeOf = (promise) => promise.then(() => 'none', (error) => error.code);
const sleep = (ms) => new Promise((resolve) => { setTimeout(resolve, ms); });

async function takeAPicture(device) {
  device.setTimeouts(5000, 5000);
  device.setLatencyTimer(2);
  device.setUSBParameters(4096, 4096);
  device.setBitMode(0, ftdi.FT_BITMODE_RESET);
  device.setBitMode(0, ftdi.FT_BITMODE_MPSSE);
  device.purge(ftdi.FT_PURGE_RX | ftdi.FT_PURGE_TX);
  const pins = async () => {
    await device.write(Uint8Array.from([0x83, 0x81]));
    return Array.from(await device.read(2));
  };
  const drive = (value) => device.write(Uint8Array.from([kSetHigh, value, kOutputs]));

  const taken = { before: await pins(), dataPins: device.bit_mode, modem: device.modem_status };
  taken.written = await drive(0xf0);
  await drive(0xf1);
  await drive(0xf0);
  do {
    await sleep(10);
    [taken.after] = await pins();
  } while ((taken.after & 0x10) === 0);
  await drive(0xb0); // the latched flag is cleared
  await drive(0xf0);
  [taken.cleared] = await pins();
  return taken;
}

async function main() {
  const result = { library: ftdi.library_version, list: await ftdi.getDeviceInfoList() };
  const [, b] = result.list;
  for (const way of [{ usb_loc_id: b.usb_loc_id }, { description: b.description }]) {
    const opened = await ftdi.openDevice(way);
    (result.infos ??= []).push(opened.info);
    await opened.close();
  }
  result.unknown = await codeOf(ftdi.openDevice('SLV1C'));
  const device = await ftdi.openDevice(b.serial_number);
  result.again = await codeOf(ftdi.openDevice(b.serial_number));
  result.driver = device.driver_version;
  result.status = device.status;
  device.setBaudRate(115200);
  device.setDataCharacteristics(ftdi.FT_BITS_8, ftdi.FT_STOP_BITS_1, ftdi.FT_PARITY_NONE);
  device.setFlowControl(ftdi.FT_FLOW_RTS_CTS, 0, 0);
  for (const name of ['setDtr', 'clrDtr', 'setRts', 'clrRts', 'setBreakOn', 'setBreakOff', 'resetDevice']) {
    device[name]();
  }
  try {
    device.setBaudRate(100);
  } catch (error) {
    result.slow = error.code;
  }
  result.erase = await codeOf(device.eraseEE());
  Object.assign(result, await takeAPicture(device));
  result.connected = device.is_connected;
  await device.close();
  return result;
}

main().catch((error) => ({ error: String(error) }))
  .then((result) => fs.writeFileSync(resultFile, JSON.stringify(result)));
