import './lib';
