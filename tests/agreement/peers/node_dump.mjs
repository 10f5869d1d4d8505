// Prints what postal-mime or mailparser finds in messages: one path from standard input, one line of JSON to
// standard output. README.md beside this folder describes the line.
//
//     node node_dump.mjs postal-mime|mailparser FOLDER [--version]
//
// FOLDER holds node_modules.
import { readFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import path from 'node:path';
import { createInterface } from 'node:readline';

const [peer, folder, option] = process.argv.slice(2);
const require = createRequire(path.join(path.resolve(folder), 'package.json'));

const orNull = (value) => (value === undefined || value === '' ? null : value);
const bare = (id) => (id ? id.trim().replace(/^<|>$/g, '') : null);
const base64 = (data) => Buffer.from(data ?? '').toString('base64');

// Members of groups stand among the others.
const flat = (entries) =>
    (entries ?? []).flatMap((entry) =>
        entry.group ? flat(entry.group) : [[orNull(entry.name), orNull(entry.address)]]);

const seconds = (date) => {
    const time = date instanceof Date ? date.getTime() : Date.parse(date ?? '');
    return Number.isNaN(time) ? null : [Math.floor(time / 1000), null];
};

const attachment = (entry, index, type, name, disposition, cid) => ({
    path: `attachment ${index + 1}`, type, name: orNull(name), disposition: orNull(disposition), cid: bare(cid),
    data: base64(entry.content),
});

async function postalMime(bytes) {
    const { default: PostalMime } = require('postal-mime');
    const mail = await PostalMime.parse(bytes);
    return {
        parts: mail.attachments.map((entry, index) =>
            attachment(entry, index, entry.mimeType, entry.filename, entry.disposition, entry.contentId)),
        subject: orNull(mail.subject), from: flat(mail.from ? [mail.from] : []), to: flat(mail.to),
        cc: flat(mail.cc), date: seconds(mail.date), text: orNull(mail.text), html: orNull(mail.html),
    };
}

async function mailparser(bytes) {
    const { simpleParser } = require('mailparser');
    const before = Date.now();
    const mail = await simpleParser(bytes, {
        skipHtmlToText: true, skipTextToHtml: true, skipTextLinks: true, skipImageLinks: true, keepCidLinks: true,
    });
    // It gives the time of the call for a date that it cannot read.
    const isMadeUp = mail.date && mail.date.getTime() >= before && mail.date.getTime() <= Date.now();
    const list = (field) => flat([field ?? []].flat().flatMap((entry) => entry.value ?? []));
    return {
        parts: mail.attachments.map((entry, index) =>
            attachment(entry, index, entry.contentType, entry.filename, entry.contentDisposition, entry.cid)),
        subject: orNull(mail.subject), from: list(mail.from), to: list(mail.to), cc: list(mail.cc),
        date: isMadeUp ? null : seconds(mail.date), text: orNull(mail.text), html: orNull(mail.html || undefined),
    };
}

const readers = { 'postal-mime': postalMime, mailparser };
if (option === '--version') {
    console.log(peer, JSON.parse(readFileSync(path.join(folder, 'node_modules', peer, 'package.json'))).version);
} else {
    for await (const line of createInterface({ input: process.stdin })) {
        let row;
        try {
            row = await readers[peer](readFileSync(line));
        } catch (error) {
            row = { error: `${error.name}: ${error.message}` };
        }
        process.stdout.write(`${JSON.stringify(row)}\n`);
    }
}
