declare const Request: Varnel.Request & ((key: string) => Varnel.RequestValue);
declare const Response: Varnel.Response;
declare const Session: Varnel.Session;
declare const Application: Varnel.Application;
declare const Utilities: Varnel.Utilities;
declare const Server: Varnel.Server & {
  CreateObject(progID: "Varnel.Page"): Varnel.Page;
  CreateObject(progID: "Varnel.PageUtil"): Varnel.PageUtil;
  CreateObject(progID: "Varnel.DataFunctions"): Varnel.DataFunctions;
  CreateObject(progID: "Varnel.CatalogQuery"): Varnel.CatalogQuery;
  CreateObject(progID: "Host.Accounts"): Varnel.HostAccounts;
  CreateObject(progID: "ADODB.Connection"): Varnel.ADODBConnection;
  CreateObject(progID: "ADODB.Recordset"): Varnel.ADODBRecordset;
};

/** The text that a posted form bears in its field FormToken. */
declare function FormToken(): string;

declare class ByRef<T = any> { constructor(value?: T); value: T; }
declare class Enumerator { constructor(collection: any); atEnd(): boolean; item(): any; moveNext(): void; moveFirst(): void; }
declare function CInt(value: any): number;
declare function CLng(value: any): number;
declare function CDbl(value: any): number;
declare function CByte(value: any): number;
declare function CDate(value: any): Date;
declare function CStr(value: any): string;
declare function CBool(value: any): boolean;

/** Writes into the site's log, with page and line. */
declare const console: {
  debug(...values: any[]): void; log(...values: any[]): void; info(...values: any[]): void;
  warn(...values: any[]): void; error(...values: any[]): void;
};

declare class URLSearchParams {
  constructor(init?: string | Iterable<[string, any]> | Record<string, any>);
  readonly size: number;
  append(name: string, value: any): void; delete(name: string, value?: any): void;
  get(name: string): string | null; getAll(name: string): string[]; has(name: string, value?: any): boolean;
  set(name: string, value: any): void; sort(): void; toString(): string;
  forEach(body: (value: string, name: string, params: URLSearchParams) => void): void;
  entries(): IterableIterator<[string, string]>; keys(): IterableIterator<string>; values(): IterableIterator<string>;
  [Symbol.iterator](): IterableIterator<[string, string]>;
}
declare class URL {
  constructor(address: string | URL, base?: string | URL);
  static canParse(address: string, base?: string): boolean;
  href: string; protocol: string; username: string; password: string; host: string; hostname: string; port: string;
  pathname: string; search: string; hash: string;
  readonly origin: string; readonly searchParams: URLSearchParams;
  toString(): string; toJSON(): string;
}
declare class TextEncoder { readonly encoding: string; encode(text?: string): Uint8Array; }
declare class TextDecoder {
  constructor(label?: string, options?: { fatal?: boolean; ignoreBOM?: boolean });
  readonly encoding: string; decode(bytes?: ArrayBuffer | ArrayBufferView): string;
}
type HashAlgorithm = "sha256" | "sha512";
type HashText = "hex" | "base64" | "base64url";
declare const crypto: {
  getRandomValues<T extends ArrayBufferView>(array: T): T;
  randomUUID(): string;
  hash(algorithm: HashAlgorithm, data: string | Uint8Array, as?: HashText): string;
  hash(algorithm: HashAlgorithm, data: string | Uint8Array, as: "bytes"): Uint8Array;
  hmac(algorithm: HashAlgorithm, key: string | Uint8Array, data: string | Uint8Array, as?: HashText): string;
  hmac(algorithm: HashAlgorithm, key: string | Uint8Array, data: string | Uint8Array, as: "bytes"): Uint8Array;
  areEqual(a: string | Uint8Array, b: string | Uint8Array): boolean;
  hashPassword(password: string): string;
  isPassword(password: string, hash: string): boolean;
};

interface FetchOptions { method?: string; headers?: Record<string, string>; body?: string | Uint8Array | URLSearchParams; }
interface FetchHeaders extends Iterable<[string, string]> { get(name: string): string | null; has(name: string): boolean; }
/** Asks a server that [fetch] addresses of site.toml names; the page waits. */
declare function fetchNow(address: string | URL, options?: FetchOptions): {
  readonly url: string; readonly status: number; readonly ok: boolean; readonly headers: FetchHeaders;
  text(): string; json(): any; bytes(): Uint8Array;
};
declare function fetch(address: string | URL, options?: FetchOptions): Promise<{
  readonly url: string; readonly status: number; readonly ok: boolean; readonly headers: FetchHeaders;
  text(): Promise<string>; json(): Promise<any>; bytes(): Promise<Uint8Array>; arrayBuffer(): Promise<ArrayBuffer>;
}>;

// --- In tests/*.js, run by varnel test

interface TestForm {
  readonly values: [string, any][];
  fill(values: Record<string, any>): TestForm;
  submit(button?: string): TestPage;
}
interface TestPage {
  readonly address: string; readonly status: number; readonly headers: Record<string, string>;
  readonly html: string; readonly text: string; readonly title: string;
  rows(): string[][];
  links(): { text: string; href: string }[];
  click(name: string): TestPage;
  form(field?: string): TestForm;
  fill(values: Record<string, any>): TestForm;
}
declare const site: {
  readonly root: string;
  get(address: string, headers?: Record<string, any>): TestPage;
  post(address: string, fields?: Record<string, any>, headers?: Record<string, any>): TestPage;
  log(): string[];
  forget(): void;
};
declare function test(name: string, body: (s: typeof site) => void | Promise<void>): void;
declare const assert: {
  (value: any, message?: string): void;
  equal(is: any, expected: any, message?: string): void;
  contains(whole: any, part: any, message?: string): void;
  matches(text: string, pattern: RegExp, message?: string): void;
  throws(body: () => void, message?: string): any;
};
